#pragma once

#include "discovery/cversion.h"

#include <QFileInfo>
#include <QList>
#include <QString>

class QDebug;

// Package kinds, kept in UpdatePackage::priority. The number also takes part in
// the package order (packageLessThan).
enum PackageKind {
    KindInstaller = 0,
    KindHelpFiles = 1,
    KindUnrecognised = 2,
    KindProgram = 3,
};

// Error states of a record (UpdatePackage::error).
enum PackageError {
    ErrorNone = 0,
    ErrorWrongBsp = 2,
    ErrorMissingSignature = 3,
    ErrorSignatureInvalid = 4, // shown by the window; nothing sets it
};

// One archive found on the update medium, with what its file name says about it.
struct UpdatePackage {
    UpdatePackage() = default;
    // A fresh record for an archive: name is the complete base name with every
    // ".tar" removed; all other fields have their initial values.
    explicit UpdatePackage(const QFileInfo& archive);

    // The detached signature file: the archive's absolute path with ".sha1" appended.
    [[nodiscard]] QString signaturePath() const;

    QFileInfo file;
    QString name;
    QString versionText = QStringLiteral("0.0.0");
    CVersion version;
    CVersion installed;
    QString bsp = QStringLiteral("0.0.0");
    int error = ErrorNone;
    bool selected = false;
    int priority = KindUnrecognised;
    int checkBoxIndex = -1; // written only by the main window
};

QDebug operator<<(QDebug debug, const UpdatePackage& package);

// Reads name, versionText, bsp, priority, selected and version from the file name.
// deviceBsp is used for old-style names whose BSP field is "pkg".
void parseName(UpdatePackage& record, const QString& deviceBsp);
// Sets ErrorMissingSignature (and unselects) when the ".sha1" file is absent; only when error is 0.
void checkSignatureFile(UpdatePackage& record);
// Sets ErrorWrongBsp (and unselects) when the package was not built for deviceBsp; only when error is 0.
void checkBsp(UpdatePackage& record, const QString& deviceBsp);

// The package order: a before b when b's version is less than a's, or a's kind
// number is smaller than b's. Deliberately a plain "or" of the two tests, not a
// strict weak order; the outcome of sorting depends on the sort algorithm's steps.
bool packageLessThan(const UpdatePackage& a, const UpdatePackage& b);

// Sorts in place with packageLessThan and the quicksort the installer has always
// used (qtQuickSort), so that the window and the worker agree on one order.
void sortPackages(QList<UpdatePackage>& packages);
