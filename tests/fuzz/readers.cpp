// One libFuzzer entry point per reader of outside input; FUZZ_<reader> selects it.
#include "discovery/updatepackage.h"
#include "install/updateconf.h"
#include "settings/cinitfile.h"
#include "system/procversion.h"

#include <QFile>
#include <QTemporaryDir>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
#if defined(FUZZ_filename)
    UpdatePackage record(QFileInfo(QStringLiteral("/media/usb/") + QString::fromUtf8(bytes)));
    parseName(record, QStringLiteral("1.36.0"));
    checkBsp(record, QStringLiteral("1.36.0"));
#elif defined(FUZZ_version)
    const CVersion version(QString::fromUtf8(bytes));
    (void)(version.toString().size() + (version < CVersion(1, 2, 3, false)));
#elif defined(FUZZ_keyvalue)
    // Both readers take a path: the input is written to one scratch file.
    static QTemporaryDir directory;
    QFile file(directory.filePath(QStringLiteral("input")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        return 0;
    file.close();
    (void)readUpdateConf(file.fileName());
    CInitFile ini(file.fileName());
    ini.Read();
#elif defined(FUZZ_procversion)
    (void)bspVersionFromProcVersion(bytes);
#endif
    return 0;
}
