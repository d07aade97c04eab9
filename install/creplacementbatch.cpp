#include "install/creplacementbatch.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray kStagingSuffix = ".pkgupdate";
const int kMaxNameBytes = 255;

// True if path names a directory itself (not a link to one): rename() cannot put
// a file or link in its place, and the old installer refused it too.
bool isDirectory(const QByteArray& path)
{
    struct stat info;
    return ::lstat(path.constData(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Copies in to out with read and write, for files between which sendfile cannot copy.
bool copyByReading(int in, int out)
{
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t got = ::read(in, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return got == 0;
        for (ssize_t done = 0; done < got;) {
            const ssize_t written = ::write(out, buffer + done, size_t(got - done));
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return false;
            done += written;
        }
    }
}

// Copies the size bytes of in to out; sendfile keeps the data in the kernel.
bool copyContents(int in, int out, off_t size)
{
    off_t offset = 0;
    while (offset < size) {
        const ssize_t sent = ::sendfile(out, in, &offset, size_t(size - offset));
        if (sent == 0) // the file became shorter
            return true;
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent < 0)
            return offset == 0 && (errno == EINVAL || errno == ENOSYS) && copyByReading(in, out);
    }
    return true;
}

// Creates path for writing; a stale entry of an interrupted installation is
// removed first.
int createStaging(const QByteArray& path)
{
    const int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    int fd = ::open(path.constData(), flags, 0600);
    if (fd < 0 && errno == EEXIST && ::unlink(path.constData()) == 0)
        fd = ::open(path.constData(), flags, 0600);
    return fd;
}

// Writes source's contents and permission bits to the new file staging.
bool writeCopy(int in, const struct stat& source, const QByteArray& staging)
{
    const int out = createStaging(staging);
    if (out < 0)
        return false;
    // The permission bits only, as the installer always copied them.
    bool ok = copyContents(in, out, source.st_size) && ::fchmod(out, source.st_mode & 0777) == 0;
    ok = ::close(out) == 0 && ok;
    if (!ok)
        ::unlink(staging.constData());
    return ok;
}

} // namespace

CReplacementBatch::~CReplacementBatch()
{
    for (const Staged& staged : m_staged)
        ::unlink(staged.staging.constData());
}

QString CReplacementBatch::stagingPath(const QString& destination)
{
    const int slash = destination.lastIndexOf(QLatin1Char('/'));
    const QByteArray name = QFile::encodeName(destination.mid(slash + 1));
    // A name too long for a suffix gets a shorter, still unique staging name.
    const QByteArray staging = name.size() + 1 + kStagingSuffix.size() <= kMaxNameBytes
        ? '.' + name + kStagingSuffix
        : '.' + name.left(kMaxNameBytes - 48) + QByteArray::number(qHash(name), 16) + kStagingSuffix;
    return destination.left(slash + 1) + QFile::decodeName(staging);
}

bool CReplacementBatch::stageCopy(const QString& source, const QString& destination)
{
    const QByteArray target = QFile::encodeName(destination);
    if (isDirectory(target))
        return false;
    const int in = ::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return false;
    const QByteArray staging = QFile::encodeName(stagingPath(destination));
    struct stat info;
    const bool ok = ::fstat(in, &info) == 0 && S_ISREG(info.st_mode) && writeCopy(in, info, staging);
    ::close(in);
    if (ok)
        add(Staged { staging, target, Failure { source, false } });
    return ok;
}

bool CReplacementBatch::prepareLink(const QString& destination)
{
    if (isDirectory(QFile::encodeName(destination)))
        return false;
    ::unlink(QFile::encodeName(stagingPath(destination)).constData());
    return true;
}

void CReplacementBatch::addLink(const QString& source, const QString& destination)
{
    add(Staged {
        QFile::encodeName(stagingPath(destination)), QFile::encodeName(destination), Failure { source, true } });
}

void CReplacementBatch::add(const Staged& staged)
{
    const auto known = m_byDestination.constFind(staged.destination);
    if (known != m_byDestination.cend()) {
        m_staged[size_t(known.value())] = staged;
        return;
    }
    m_byDestination.insert(staged.destination, int(m_staged.size()));
    m_staged.push_back(staged);
}

std::vector<CReplacementBatch::Failure> CReplacementBatch::commit()
{
    std::vector<Failure> failures;
    if (m_staged.empty())
        return failures;
    // New contents durable before any name points at them ...
    syncFileSystems();
    for (const Staged& staged : m_staged) {
        if (::rename(staged.staging.constData(), staged.destination.constData()) != 0) {
            ::unlink(staged.staging.constData());
            failures.push_back(staged.origin);
        }
    }
    m_staged.clear();
    m_byDestination.clear();
    // ... and the renames durable before the device may be restarted.
    syncFileSystems();
    return failures;
}

void syncFileSystems()
{
    ::sync();
}
