#pragma once

#include <QString>

// Where the tests find the project's files.
namespace TestPaths {
// A file of the source tree, given relative to its top ("tools/make-package").
QString source(const QString& relative);
// A file of the build tree, given relative to its top.
QString build(const QString& relative);
// The installer executable.
QString executable();
// The device sandbox script.
QString sandbox();
} // namespace TestPaths
