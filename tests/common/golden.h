#pragma once

#include <QString>

// Expected output kept as reviewed data beside the tests: a reference file such as
// "ui/data/start-de.ref", relative to tests/. A mismatch prints a unified diff of
// reference and actual text. With PKGUPDATE_UPDATE_GOLDEN=1 in the environment
// (tools/test --update-golden) the reference is rewritten instead, so a change of
// behaviour shows up as a diff in review.
namespace Golden {
// True when actual equals the reference, or when the reference was rewritten.
[[nodiscard]] bool matches(const QString& reference, const QString& actual);
} // namespace Golden

#define QCOMPARE_GOLDEN(reference, actual) QVERIFY2(Golden::matches(reference, actual), "differs from " reference)
