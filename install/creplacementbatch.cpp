#include "install/creplacementbatch.h"

#include <QDebug>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
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

// Writes source's contents and permission bits to the new file staging; 0 or the
// errno of what failed.
int writeCopy(int in, const struct stat& source, const QByteArray& staging)
{
    const int out = createStaging(staging);
    if (out < 0)
        return errno;
    // The permission bits only, as the installer always copied them.
    int error = copyContents(in, out, source.st_size) && ::fchmod(out, source.st_mode & 0777) == 0 ? 0 : errno;
    if (::close(out) != 0 && error == 0)
        error = errno;
    if (error != 0)
        ::unlink(staging.constData());
    return error;
}

// Removes the staging entries that an interrupted installation left in directory,
// so that they do not take the room of the files installed there next.
void removeStaleStaging(const QByteArray& directory)
{
    const QDir dir(QFile::decodeName(directory));
    const QStringList stale = dir.entryList({ QStringLiteral(".*") + QString::fromLatin1(kStagingSuffix) },
        QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString& name : stale) {
        qDebug() << "staging entry left by an interrupted installation removed:" << dir.filePath(name);
        ::unlink(QFile::encodeName(dir.filePath(name)).constData());
    }
}

} // namespace

CReplacementBatch::CReplacementBatch(Flush flush)
    : m_flush(std::move(flush))
{
}

CReplacementBatch::~CReplacementBatch()
{
    for (const Staged& staged : m_staged)
        ::unlink(staged.staging.constData());
    for (const FileSystem& fileSystem : m_fileSystems)
        ::close(fileSystem.fd);
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

CReplacementBatch::Staging CReplacementBatch::stageCopy(const QString& source, const QString& destination)
{
    const QByteArray target = QFile::encodeName(destination);
    if (isDirectory(target))
        return Staging::Failed;
    const int fileSystem = enterDirectory(target);
    // Only a regular file is opened: opening a FIFO waits for a writer that never
    // comes, and opening a device node may start what the device drives.
    const QByteArray from = QFile::encodeName(source);
    struct stat info;
    if (fileSystem < 0 || ::stat(from.constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return Staging::Failed;
    const int in = ::open(from.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (in < 0)
        return Staging::Failed;
    const QByteArray staging = QFile::encodeName(stagingPath(destination));
    const int error = ::fstat(in, &info) != 0 ? errno : S_ISREG(info.st_mode) ? writeCopy(in, info, staging) : EINVAL;
    ::close(in);
    if (error == 0) {
        add(Staged { staging, target, Failure { source, false }, fileSystem });
        return Staging::Staged;
    }
    return error == ENOSPC || error == EDQUOT ? Staging::NoRoom : Staging::Failed;
}

bool CReplacementBatch::prepareLink(const QString& destination)
{
    const QByteArray target = QFile::encodeName(destination);
    if (isDirectory(target) || enterDirectory(target) < 0)
        return false;
    ::unlink(QFile::encodeName(stagingPath(destination)).constData());
    return true;
}

void CReplacementBatch::addLink(const QString& source, const QString& destination)
{
    const QByteArray target = QFile::encodeName(destination);
    add(Staged {
        QFile::encodeName(stagingPath(destination)), target, Failure { source, true }, enterDirectory(target) });
}

int CReplacementBatch::enterDirectory(const QByteArray& destination)
{
    const int slash = destination.lastIndexOf('/');
    const QByteArray directory = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : destination.left(slash);
    const auto known = m_directories.constFind(directory);
    if (known != m_directories.cend())
        return known.value();
    const int fd = ::open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    struct stat info;
    if (fd < 0 || ::fstat(fd, &info) != 0) {
        if (fd >= 0)
            ::close(fd);
        return -1;
    }
    removeStaleStaging(directory);
    const auto same = std::find_if(m_fileSystems.cbegin(), m_fileSystems.cend(),
        [&info](const FileSystem& fileSystem) { return fileSystem.device == info.st_dev; });
    const int index = int(same - m_fileSystems.cbegin());
    if (same == m_fileSystems.cend())
        m_fileSystems.push_back(FileSystem { info.st_dev, fd, directory, true });
    else
        ::close(fd);
    m_directories.insert(directory, index);
    return index;
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
    // New contents durable before any name points at them; where the flash did not
    // take them, the old files stay ...
    for (FileSystem& fileSystem : m_fileSystems)
        flush(fileSystem, "before the renames");
    for (const Staged& staged : m_staged) {
        if (!m_fileSystems[size_t(staged.fileSystem)].flushed
            || ::rename(staged.staging.constData(), staged.destination.constData()) != 0) {
            ::unlink(staged.staging.constData());
            failures.push_back(staged.origin);
        }
    }
    m_staged.clear();
    m_byDestination.clear();
    // ... and the renames durable before the device may be restarted.
    for (FileSystem& fileSystem : m_fileSystems) {
        if (fileSystem.flushed)
            flush(fileSystem, "after the renames");
    }
    return failures;
}

void CReplacementBatch::flush(FileSystem& fileSystem, const char* moment)
{
    fileSystem.flushed = m_flush(fileSystem.fd);
    if (!fileSystem.flushed)
        qCritical("sync error %s %s: %s", moment, fileSystem.directory.constData(), std::strerror(errno));
}

void syncFileSystems()
{
    ::sync();
}
