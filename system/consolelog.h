#pragma once

#include <QString>
#include <QtGlobal>

// The console log: the one process-wide file that diagnostics are written to.

// Opens the console log file at path for writing, once per process; later calls
// keep the file already open. False, with the file's error text in error, if it
// cannot be opened.
bool openConsoleLog(const QString& path, QString& error);

// The Qt message handler writing to the console log: debug (and info) messages are
// dropped, warnings are the text and "\n", critical messages "??? " text "\n",
// fatal messages "\n!!! " text "\n\n". A text over 4096 characters is cut there and
// says so. Flushed after each message; messages are dropped while no console log is open.
void consoleMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& text);
