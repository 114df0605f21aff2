#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <utility>

#include <vlq/toolkit/ImageDecoder.h>

#include "toolkit/platform/ServiceSlot.h"

namespace vlq::toolkit {
namespace {

// The installed decoder, or one that reads a PNG file's size.
ServiceSlot<const ImageDecoder>& decoders() {
  static ServiceSlot<const ImageDecoder> slot(std::make_shared<PngHeaderDecoder>());
  return slot;
}

std::uint32_t bigEndian32(const unsigned char* bytes) {
  return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
         (std::uint32_t{bytes[2]} << 8) | std::uint32_t{bytes[3]};
}

}  // namespace

std::shared_ptr<const ImageDecoder> ImageDecoder::current() {
  return decoders().get();
}

void ImageDecoder::install(std::shared_ptr<const ImageDecoder> decoder) {
  decoders().install(std::move(decoder));
}

std::shared_ptr<const DecodedImage> ImageDecoder::mirrored(const DecodedImage& image) const {
  return std::make_shared<DecodedImage>(image.pixelWidth(), image.pixelHeight());
}

std::shared_ptr<const DecodedImage> PngHeaderDecoder::decode(const std::string& path) const {
  // Signature (8 bytes), then the IHDR chunk: length (4), type (4), width (4), height (4).
  static constexpr std::array<unsigned char, 8> kSignature = {0x89, 'P',  'N',  'G',
                                                              '\r', '\n', 0x1A, '\n'};
  std::array<unsigned char, 24> header{};
  std::ifstream file(path, std::ios::binary);
  if (!file.read(reinterpret_cast<char*>(header.data()), header.size())) return nullptr;
  if (!std::equal(kSignature.begin(), kSignature.end(), header.begin())) return nullptr;
  if (header[12] != 'I' || header[13] != 'H' || header[14] != 'D' || header[15] != 'R') {
    return nullptr;
  }
  const std::uint32_t width = bigEndian32(&header[16]);
  const std::uint32_t height = bigEndian32(&header[20]);
  if (width == 0 || height == 0 || width > (1u << 24) || height > (1u << 24)) return nullptr;
  return std::make_shared<DecodedImage>(static_cast<int>(width), static_cast<int>(height));
}

}  // namespace vlq::toolkit
