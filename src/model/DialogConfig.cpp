#include "model/DialogConfig.h"

namespace vlq {

std::shared_ptr<DialogConfig> DialogConfig::initWith(const Json& ui) {
  auto config = std::make_shared<DialogConfig>();
  const Json& dialog = valueForKey(ui, "dialog_config");
  if (!dialog.is_object()) return config;

  config->setButtonType(valueForKey(dialog, "button_type"));
  config->setYesText(valueForKey(dialog, "yes_text"));
  config->setNoText(valueForKey(dialog, "no_text"));
  config->setTitle(valueForKey(dialog, "title"));
  config->setSurveyDescription(valueForKey(dialog, "description"));
  config->setIsRoundButton(isEqualToString(config->buttonType(), "circle"));
  return config;
}

}  // namespace vlq
