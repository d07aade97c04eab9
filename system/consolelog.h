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
// says so. Each message is written at once, from whichever thread it comes.
// Messages are dropped while no console log is open, and so are the Qt libraries'
// debug, info and warning messages (they come from code built without
// QT_MESSAGELOGCONTEXT); their critical and fatal ones pass.
void consoleMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& text);
