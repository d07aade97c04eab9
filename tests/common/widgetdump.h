#pragma once

#include <QString>

class QWidget;

// What a person sees of a widget tree, as text for golden files: one line per
// widget, indented by depth, with class and object name, its place in the parent's
// layout (grid cell, span, alignment, stretch), hidden and disabled states, text
// (and its format unless automatic), check state, icon, style sheet, frame, fixed
// minimum size and, where it differs from the parent's, the font size. Windows add
// title, flags and state; message boxes their icon pixmap's width and buttons.
// Child windows and Qt's own "qt_" widgets are left out.
namespace WidgetDump {
QString tree(const QWidget* root);
} // namespace WidgetDump
