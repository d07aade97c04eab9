#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <vector>

// Replaces installed files and links so that power loss at any moment leaves each
// destination wholly old or wholly new. The new content is written beside its
// destination under a staging name while the old file stays in place; commit()
// makes all of them durable with one sync of the file systems, renames them over
// their destinations and syncs once more, so that the renames last too. One sync
// per batch instead of one fsync per file keeps this cheap on flash.
class CReplacementBatch {
public:
    // A staged replacement whose rename failed in commit().
    struct Failure {
        QString source;
        bool link = false;
    };

    CReplacementBatch() = default;
    // Removes what was staged and not committed.
    ~CReplacementBatch();
    CReplacementBatch(const CReplacementBatch&) = delete;
    CReplacementBatch& operator=(const CReplacementBatch&) = delete;

    // Where the new content of destination waits for commit(): a hidden name in
    // the same directory, so that the rename stays within one file system.
    [[nodiscard]] static QString stagingPath(const QString& destination);

    // Writes a copy of source (contents and permission bits; a link is followed)
    // beside destination. False, with nothing left behind and the old file
    // untouched, if source is not a regular file, destination is a directory or
    // the copy fails (a full flash, a missing directory).
    [[nodiscard]] bool stageCopy(const QString& source, const QString& destination);
    // Prepares stagingPath(destination) for a link: false if destination is a
    // directory (a link cannot replace it); otherwise clears a stale staging entry.
    [[nodiscard]] bool prepareLink(const QString& destination);
    // Records the link that the caller created at stagingPath(destination).
    void addLink(const QString& source, const QString& destination);

    // Makes everything staged durable and puts it in place; the renames that
    // failed are returned (their staged copy is removed, the old file stays).
    std::vector<Failure> commit();

private:
    struct Staged {
        QByteArray staging;
        QByteArray destination;
        Failure origin;
    };

    // Adds staged, or replaces an earlier entry for the same destination.
    void add(const Staged& staged);

    std::vector<Staged> m_staged;
    // Index into m_staged by destination: a destination staged twice is renamed once.
    QHash<QByteArray, int> m_byDestination;
};

// Makes every file system's written data durable (sync(2)).
void syncFileSystems();
