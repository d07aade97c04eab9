#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// One run of an external program (openssl, tar, cp), started without a shell and
// waited for without a time limit: the tools run on a build host, not on the device.
struct ExternalRun {
    bool ok = false; // started and ended with status 0
    QByteArray output; // standard output
    QString failure; // when not ok: "<program> failed: <its standard error, or why it did not run>"
};

[[nodiscard]] ExternalRun runExternal(const QString& program, const QStringList& arguments);
