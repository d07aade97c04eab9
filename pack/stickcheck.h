#pragma once

#include "discovery/updatepackage.h"
#include "pack/packagefindings.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

// The device a stick is checked for: what the installer would learn from
// /proc/version, "/usr/local/bin/corvane -v", help/version.txt and the key
// files in its share directory. The defaults are those of the simulated device.
struct CheckedDevice {
    QString bsp = QStringLiteral("1.36.0");
    QString programAnswer = QStringLiteral("3.0.0"); // standard output of "corvane -v"
    int programExit = 0; // its exit status
    enum Program { Answers, Hangs, Missing } program = Answers; // whether "corvane -v" answers at all
    QString helpVersion; // the "version" key of help/version.txt; empty: no such file
    QString key; // host file holding the device's key of BSP 1.7.0 and 1.36.0
    QString key141; // host file holding the device's key of BSP 1.41.0
};

// One row of the window, with what the installer would find when it verifies it.
struct CheckedPackage {
    UpdatePackage record;
    enum Signature { NotChecked, Verified, Failed } signature = NotChecked;
    QString signatureText; // the installer's error text when Failed; why not when NotChecked
    QList<PackageFinding> findings;
};

// One thing the device would show in red, refuse or get wrong.
struct StickFinding {
    const char* kind; // stable, for scripts: "signature-fails", "red-row", or a PackageFinding's kind
    QString file; // the archive it is about; empty for the stick as a whole
    QString text;
};

// What the installer would do with a stick, found without its window.
struct StickCheck {
    QString stick;
    CheckedDevice device;
    QString keyFile; // the device's key file the BSP selects; null for an unknown BSP
    QString hostKey; // the host file given for it; empty when none was given
    QList<UpdatePackage> found; // as the collector listed them
    bool truncated = false;
    QList<CheckedPackage> rows; // in the order of the window's rows
    QStringList logged; // archive names whose signature Install would accept, as update.log lists them
    QStringList installed; // archive names Install would install, in this order
    QString stoppedAt; // the archive whose verification would stop Install
    QStringList leftOver; // pre-selected archives Install never reaches: it ends with a hand-over or reboot first
    QString refusal; // why Install would not start, or the text it would stop with
    bool kindConflict = false; // two pre-selected packages of one kind
    QString next; // what the device does afterwards
    QList<StickFinding> findings;
    int findingCount = 0;
};

// Verifies package's signature with the public key as the device does, with the
// package where the device has it (a path without blanks); error gets the
// installer's reason when it fails.
[[nodiscard]] bool verifyAsDevice(const QString& package, const QString& key, QString& error);

// Scans stick with the installer's collector for the given device, verifies the
// signatures of the rows that can be ticked with the key the installer would
// take, lists every archive's findings and follows Install through the pre-selection.
[[nodiscard]] StickCheck checkStick(const QString& stick, const CheckedDevice& device);

// The report for people: the window's table and a section for each of the above.
[[nodiscard]] QString checkReportText(const StickCheck& check);
// The same for scripts.
[[nodiscard]] QJsonObject checkReportJson(const StickCheck& check);
