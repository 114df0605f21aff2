#pragma once

// Which devices fall inside a survey's sample. The answer is stable for a device and a survey, on
// every run, machine and build, so that a service can compute the same one:
//
//   bucket = MurmurHash3_x86_32(UTF-8 bytes of device_id + ":" + survey_id, seed 0) mod 10000
//   the device is in a sample of P percent when bucket / 100 < P
//
// so buckets run from 0.00 to 99.99 in steps of 0.01: 0 % takes no device, 100 % every device, and
// a device inside a sample of P percent is inside every larger one.

#include <cstdint>
#include <string_view>

namespace vlq::reference {

// MurmurHash3's 32-bit x86 variant of `bytes` (read as little-endian blocks of four).
std::uint32_t murmurHash3x86_32(std::string_view bytes, std::uint32_t seed);

// The device's place in the survey's sample, 0.00 to 99.99.
double samplingBucket(std::string_view deviceId, std::string_view surveyId);

// True when the device falls inside a sample of `percent` (0 to 100) of the survey's devices.
bool inSample(std::string_view deviceId, std::string_view surveyId, double percent);

}  // namespace vlq::reference
