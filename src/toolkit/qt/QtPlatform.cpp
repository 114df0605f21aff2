#include <sys/stat.h>
#include <unistd.h>

#include <QFontDatabase>
#include <QGuiApplication>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include <vlq/qt/QtPlatform.h>
#include <vlq/toolkit/Diagnostics.h>
#include <vlq/toolkit/FontCatalog.h>

#include "toolkit/qt/QtImageDecoder.h"
#include "toolkit/qt/QtTextMeasurer.h"

namespace vlq::toolkit::qt {
namespace {

// Qt keeps per-user runtime files in XDG_RUNTIME_DIR and, when a session (a container, CI, a
// terminal over ssh) does not set it, warns on standard error before falling back to
// /tmp/runtime-USER. Tools print their own messages only, so the same private folder is made and
// named here first: it must belong to this user and be closed to others, as Qt requires.
void provideRuntimeDirectory() {
  if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) return;
  std::error_code error;
  const auto temporary = std::filesystem::temp_directory_path(error);
  if (error) return;
  const std::string folder =
      (temporary / ("runtime-" + std::to_string(static_cast<unsigned>(geteuid())))).string();
  ::mkdir(folder.c_str(), 0700);
  struct stat status {};
  if (::lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
      status.st_uid != geteuid() || (status.st_mode & 0077) != 0) {
    return;  // someone else's, or open to others: leave it to Qt to say so
  }
  qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(folder));
}

}  // namespace

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
  provideRuntimeDirectory();
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
