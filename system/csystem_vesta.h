#pragma once

#include "system/csystemtemplate.h"

class CWaitedCommand;

// Time limits of the platform's commands, in milliseconds. The defaults are the
// device's; tests lower them to reach the time-out paths in seconds.
struct SystemBudgets {
    int startMs = 1000; // any waited command must start within this
    int verifyMs = 50000; // openssl signature check
    int unpackBaseMs = 5000; // tar: this much plus ...
    int unpackBytesPerMs = 200; // ... 1 ms per this many bytes of the package
    int prepareSleepMs = 1000; // pause after recreating the unpack directory

    // The time tar may take for a package of packageBytes bytes.
    [[nodiscard]] int unpackBudgetMs(qint64 packageBytes) const;
};

// Sizes of the RAM disk holding /tmp: enlarged while the window is open (the
// packages are unpacked into it), normal otherwise.
const int kTmpfsBiggerMb = 140;
const int kTmpfsNormalMb = 60;

// The platform object of the one supported device. Its constructor reads the BSP
// version, opens /dev/console for diagnostics (ending the process with status 1
// if it cannot) and installs the console message handler.
class CSystem_Vesta : public CSystemTemplate {
public:
    // Reads the BSP version, opens the console log and installs its message handler.
    CSystem_Vesta();
    ~CSystem_Vesta();

    // Replaces the time limits of the platform's commands.
    void setBudgets(const SystemBudgets& budgets) { m_budgets = budgets; }
    // The time limits in use.
    [[nodiscard]] const SystemBudgets& budgets() const { return m_budgets; }

    QString UpdateKeyFile() override;
    bool Stop_CV3() override;
    bool Start_CV3() override;
    bool Installer(const QString& argument) override;
    bool Reset() override;
    bool PrepareTempDir() override;
    bool Mount_Tmpf_Bigger(bool bigger) override;
    bool Execute(const QString& command) override;
    bool verifySignature(const QFileInfo& package, QString& error) override;
    bool Unpack(const QFileInfo& package, QString& error) override;
    bool CopySymlink(const QString& source, const QString& destination) override;
    bool ReadBspVersion() override;
    bool SyncFileSystem(int fd) override;

private:
    // The result of a tar run that finished or ran over its budget.
    bool judgeUnpack(CWaitedCommand& tar, QString& error);

    SystemBudgets m_budgets;
};

// The public keys the device keeps for the signature check, and the choice
// between them by BSP version (exact, case-sensitive).
namespace UpdateKeys {
// "/usr/local/share/corvane/qelsslkey.pem": the key of BSP 1.7.0 and 1.36.0.
[[nodiscard]] QString standardKey();
// "/usr/local/share/corvane/qelupdatekey141.pem": the key of BSP 1.41.0.
[[nodiscard]] QString bsp141Key();
// The key a device with this BSP version uses; null for any other version.
[[nodiscard]] QString forBsp(const QString& bspVersion);
// The BSP versions that have a key, oldest first.
[[nodiscard]] QStringList knownBsps();
} // namespace UpdateKeys

// Checks the package's detached "<package>.sha1" signature with openssl and the
// public key keyFile, within the budgets' time limits; error gets the reason the
// installer shows. The platform object's signature check, usable off the device.
bool verifyPackageSignature(
    const QString& keyFile, const QFileInfo& package, const SystemBudgets& budgets, QString& error);
