#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vlq {

// Device and day attributes of a user; a plain record with every field empty at creation.
class VLQUserAttributesModel {
 public:
  const std::optional<std::string>& hardware_model() const { return hardware_model_; }
  void setHardware_model(std::optional<std::string> value) { hardware_model_ = std::move(value); }
  const std::optional<std::string>& os_version() const { return os_version_; }
  void setOs_version(std::optional<std::string> value) { os_version_ = std::move(value); }
  std::optional<std::int64_t> vlq_day_in_app() const { return vlq_day_in_app_; }
  void setVlq_day_in_app(std::optional<std::int64_t> value) { vlq_day_in_app_ = value; }
  std::optional<std::int64_t> day() const { return day_; }
  void setDay(std::optional<std::int64_t> value) { day_ = value; }
  std::optional<std::int64_t> month() const { return month_; }
  void setMonth(std::optional<std::int64_t> value) { month_ = value; }
  std::optional<std::int64_t> year() const { return year_; }
  void setYear(std::optional<std::int64_t> value) { year_ = value; }

 private:
  std::optional<std::string> hardware_model_;
  std::optional<std::string> os_version_;
  std::optional<std::int64_t> vlq_day_in_app_;
  std::optional<std::int64_t> day_;
  std::optional<std::int64_t> month_;
  std::optional<std::int64_t> year_;
};

}  // namespace vlq
