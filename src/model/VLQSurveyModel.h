#pragma once

#include <memory>
#include <optional>
#include <string>

#include <vlq/host/JsonValue.h>

#include "model/VLQUserAttributesModel.h"

namespace vlq {

// A summary of one submission. The survey page fills one with placeholders when the user submits
// and keeps it; the posted body is built from the response records instead.
class VLQSurveyModel {
 public:
  const Json& survey_id() const { return survey_id_; }
  void setSurvey_id(Json value) { survey_id_ = std::move(value); }
  std::optional<float> time_taken() const { return time_taken_; }
  void setTime_taken(std::optional<float> value) { time_taken_ = value; }
  std::optional<double> launch_time() const { return launch_time_; }
  void setLaunch_time(std::optional<double> value) { launch_time_ = value; }
  Json& responsesArray() { return responsesArray_; }
  const Json& responsesArray() const { return responsesArray_; }
  void setResponsesArray(Json value) { responsesArray_ = std::move(value); }
  const std::optional<std::string>& session_id() const { return session_id_; }
  void setSession_id(std::optional<std::string> value) { session_id_ = std::move(value); }
  bool is_completed() const { return is_completed_; }
  void setIs_completed(bool value) { is_completed_ = value; }
  const Json& app_version() const { return app_version_; }
  void setApp_version(Json value) { app_version_ = std::move(value); }
  const std::optional<std::string>& device_uuid() const { return device_uuid_; }
  void setDevice_uuid(std::optional<std::string> value) { device_uuid_ = std::move(value); }
  const Json& userAttributes() const { return userAttributes_; }
  void setUserAttributes(Json value) { userAttributes_ = std::move(value); }
  const std::shared_ptr<VLQUserAttributesModel>& sessionAttributes() const {
    return sessionAttributes_;
  }
  void setSessionAttributes(std::shared_ptr<VLQUserAttributesModel> value) {
    sessionAttributes_ = std::move(value);
  }

 private:
  Json survey_id_;
  std::optional<float> time_taken_;
  std::optional<double> launch_time_;
  Json responsesArray_ = Json::array();
  std::optional<std::string> session_id_;
  bool is_completed_ = false;
  Json app_version_;
  std::optional<std::string> device_uuid_;
  Json userAttributes_;
  std::shared_ptr<VLQUserAttributesModel> sessionAttributes_;
};

}  // namespace vlq
