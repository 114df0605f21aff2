#pragma once

#include <vlq/Export.h>

// The Qt platform behind the toolkit: one call makes a Qt application if the program has none
// and installs the real text measurer, image decoder and installed-font test into the core.

class QGuiApplication;

namespace vlq::toolkit::qt {

// The program's Qt application, made on first use when the program has not made one. Without a
// display (no DISPLAY or WAYLAND_DISPLAY, and no QT_QPA_PLATFORM chosen) it runs offscreen. Call
// on the main thread before fonts or windows are used. Null (and a diagnostic) when the program
// made a Qt application without a GUI.
VLQ_API QGuiApplication* ensureQtApplication();

// Ensures the application, then installs QtTextMeasurer, QtImageDecoder and a font catalog test
// that accepts only the families Qt's font database really has.
VLQ_API void installQtPlatform();

}  // namespace vlq::toolkit::qt
