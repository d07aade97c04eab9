#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>
#include <sys/types.h>
#include <vector>

// Replaces installed files and links so that power loss at any moment leaves each
// destination wholly old or wholly new. The new content is written beside its
// destination under a staging name while the old file stays in place; commit()
// makes all of them durable with one flush of each file system they are on,
// renames them over their destinations and flushes once more, so that the renames
// last too. One flush per file system and batch instead of one fsync per file keeps
// this cheap on flash. A file system whose flush reports a write-back error gets
// none of its renames: its old files stay.
class CReplacementBatch {
public:
    // A staged replacement that commit() did not put in place.
    struct Failure {
        QString source;
        bool link = false;
    };
    // What stageCopy() did; NoRoom when the file system is full, the old file stays.
    enum class Staging { Staged, NoRoom, Failed };
    // Makes the data written to the file system of an open file durable; false,
    // with errno set, on a write-back error.
    using Flush = std::function<bool(int fd)>;

    explicit CReplacementBatch(Flush flush);
    // Removes what was staged and not committed.
    ~CReplacementBatch();
    CReplacementBatch(const CReplacementBatch&) = delete;
    CReplacementBatch& operator=(const CReplacementBatch&) = delete;

    // Where the new content of destination waits for commit(): a hidden name in
    // the same directory, so that the rename stays within one file system.
    [[nodiscard]] static QString stagingPath(const QString& destination);

    // Writes a copy of source (contents and permission bits; a link is followed)
    // beside destination. Fails, with nothing left behind and the old file
    // untouched, if source is not a regular file, destination is a directory or
    // the copy fails (NoRoom on a full flash; a missing directory).
    [[nodiscard]] Staging stageCopy(const QString& source, const QString& destination);
    // Prepares stagingPath(destination) for a link: false if destination is a
    // directory (a link cannot replace it); otherwise clears a stale staging entry.
    [[nodiscard]] bool prepareLink(const QString& destination);
    // Records the link that the caller created at stagingPath(destination).
    void addLink(const QString& source, const QString& destination);

    // Makes everything staged durable and puts it in place; what was not put in
    // place (a failed flush or rename) is returned, its staged copy removed and
    // its old file kept.
    std::vector<Failure> commit();

private:
    struct FileSystem {
        dev_t device;
        // A directory on it, open since before the batch wrote there, so that its
        // flush reports the write-back errors of the batch's files.
        int fd;
        QByteArray directory;
        bool flushed;
    };
    struct Staged {
        QByteArray staging;
        QByteArray destination;
        Failure origin;
        int fileSystem;
    };

    // The index in m_fileSystems of destination's directory, or -1 if it cannot be
    // opened. The first time a directory is entered, the staging entries that an
    // interrupted installation left there are removed.
    int enterDirectory(const QByteArray& destination);
    // Flushes one file system entered; a failure is said on the console.
    void flush(FileSystem& fileSystem, const char* moment);
    // Adds staged, or replaces an earlier entry for the same destination.
    void add(const Staged& staged);

    Flush m_flush;
    std::vector<FileSystem> m_fileSystems;
    // Index into m_fileSystems by directory.
    QHash<QByteArray, int> m_directories;
    std::vector<Staged> m_staged;
    // Index into m_staged by destination: a destination staged twice is renamed once.
    QHash<QByteArray, int> m_byDestination;
};

// Makes every file system's written data durable (sync(2)).
void syncFileSystems();
