// The QML plugin of the module VLQ.Surveys, which the QML engine loads from its import path. The
// SurveyOverlay type itself lives in the application, which links VLQ::QtQuick together with the
// plug-in and its toolkit: one toolkit per process, so the item's window is the one the plug-in
// sees. The plugin finds the application's registration function and calls it.

#include <dlfcn.h>

#include <QQmlExtensionPlugin>
#include <QtGlobal>

namespace {

class VLQSurveysQmlPlugin : public QQmlExtensionPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

 public:
  void registerTypes(const char* uri) override {
    using Register = void (*)(const char*);
    const auto registerTypes =
        reinterpret_cast<Register>(::dlsym(RTLD_DEFAULT, "vlq_qt_quick_register_types"));
    if (!registerTypes) {
      qWarning(
          "VLQ.Surveys: the application is not linked with VLQ::QtQuick, which brings the "
          "SurveyOverlay type (target_link_libraries(APP PRIVATE VLQ::QtQuick))");
      return;
    }
    registerTypes(uri);
  }
};

}  // namespace

#include "SurveysQmlPlugin.moc"
