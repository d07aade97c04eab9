#pragma once

#include "pack/externaltool.h"

#include <QString>

// Signs archive as the device verifies it (SHA-1, RSA PKCS#1 v1.5, detached) into
// signature. key is a PEM file of the private key or a PKCS#11 URI ("pkcs11:...")
// of a key held in a token, used through OpenSSL's PKCS#11 engine.
[[nodiscard]] ExternalRun signArchive(const QString& key, const QString& archive, const QString& signature);

// Whether key names a key in a PKCS#11 token rather than a file.
[[nodiscard]] bool isTokenKey(const QString& key);
