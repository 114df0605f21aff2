#pragma once

#include <memory>
#include <string>

#include <vlq/toolkit/UILabel.h>
#include <vlq/toolkit/UIWindow.h>

#include "ui/VLQSurveyViewController.h"

namespace vlq::bench {

// The plug-in's own survey page on the 390 x 844 phone, for the page-render benchmark: one window
// for the program's life (the host's key window), on which each call to open() shows a new page
// for a configuration with one question of each kind, as the plug-in shows it.
class PluginSurveyPhone {
 public:
  // `resources` is the folder holding the application's bundle (app/) and the plug-in's (plugin/).
  explicit PluginSurveyPhone(const std::string& resources);
  ~PluginSurveyPhone();
  PluginSurveyPhone(const PluginSurveyPhone&) = delete;
  PluginSurveyPhone& operator=(const PluginSurveyPhone&) = delete;

  toolkit::UIWindow& window() { return *window_; }
  const std::shared_ptr<ui::VLQSurveyViewController>& page() const { return page_; }

  // Puts a plain screen in the window, as the application shows before the survey.
  void showPlainScreen();
  // A new page with the first question (single choice) showing; not laid out yet.
  void open();
  // Where a finger selects choice row `row` of the question shown (the page laid out).
  toolkit::CGPoint rowTapPoint(std::int64_t row);
  // The label of the question's title in the table's header, or null.
  std::shared_ptr<toolkit::UILabel> titleLabel();

 private:
  std::shared_ptr<toolkit::UIWindow> window_;
  std::shared_ptr<ui::VLQSurveyViewController> page_;
};

}  // namespace vlq::bench
