#include "pack/signing.h"

#include <QStringList>

bool isTokenKey(const QString& key)
{
    return key.startsWith(QLatin1String("pkcs11:"));
}

ExternalRun signArchive(const QString& key, const QString& archive, const QString& signature)
{
    QStringList arguments { QStringLiteral("dgst"), QStringLiteral("-sha1") };
    // The token's PIN comes from the URI ("pin-value=") or OpenSSL asks for it.
    if (isTokenKey(key))
        arguments << QStringLiteral("-engine") << QStringLiteral("pkcs11") << QStringLiteral("-keyform")
                  << QStringLiteral("engine");
    arguments << QStringLiteral("-sign") << key << QStringLiteral("-out") << signature << archive;
    return runExternal(QStringLiteral("openssl"), arguments);
}
