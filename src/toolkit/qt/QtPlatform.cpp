#include "toolkit/qt/QtPlatform.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <memory>
#include <set>
#include <string>

#include "toolkit/Diagnostics.h"
#include "toolkit/FontCatalog.h"
#include "toolkit/qt/QtImageDecoder.h"
#include "toolkit/qt/QtTextMeasurer.h"

namespace vlq::toolkit::qt {

QGuiApplication* ensureQtApplication() {
  if (auto* existing = QCoreApplication::instance()) {
    auto* gui = qobject_cast<QGuiApplication*>(existing);
    if (!gui) reportDiagnostic("Qt backend: the program made a Qt application without a GUI");
    return gui;
  }
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY") &&
      qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  // Qt keeps references to the arguments for the application's lifetime, which is the program's:
  // the application is never destroyed, so that nothing that outlives main meets a dead one.
  static int argc = 1;
  static char name[] = "vlq";
  static char* argv[] = {name, nullptr};
  return new QGuiApplication(argc, argv);
}

void installQtPlatform() {
  ensureQtApplication();
  TextMeasurer::install(std::make_shared<QtTextMeasurer>());
  ImageDecoder::install(std::make_shared<QtImageDecoder>());
  std::set<std::string> families;
  for (const QString& family : QFontDatabase::families())
    families.insert(family.toStdString());
  FontCatalog::setFamilyInstalledTest([families = std::move(families)](const std::string& family) {
    return families.count(family) > 0;
  });
}

}  // namespace vlq::toolkit::qt
