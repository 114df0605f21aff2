#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/UIFont.h>
#include <vlq/toolkit/UIImage.h>

namespace vlq::toolkit {
namespace {

namespace fs = std::filesystem;

// Writes the start of a PNG file: enough for the core, which reads only the size.
void writePngHeader(const fs::path& path, std::uint32_t width, std::uint32_t height) {
  std::string bytes("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR", 16);
  for (const std::uint32_t value : {width, height}) {
    for (int shift = 24; shift >= 0; shift -= 8)
      bytes.push_back(static_cast<char>(value >> shift));
  }
  std::ofstream(path, std::ios::binary) << bytes;
}

class ResourcesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("vlq-resources-" + std::to_string(::getpid()));
    fs::create_directories(folder_ / "app");
    fs::create_directories(folder_ / "plugin");
  }
  void TearDown() override {
    NSBundle::setInstalledBundlesDirectory("");
    fs::remove_all(folder_);
  }

  fs::path folder_;
};

TEST_F(ResourcesTest, ImagesComeFromTheirBundleAtTheBestScaleAndKeepTheirIdentity) {
  writePngHeader(folder_ / "app" / "radio.png", 25, 25);
  writePngHeader(folder_ / "app" / "radio@2x.png", 50, 50);
  writePngHeader(folder_ / "plugin" / "cancel@3x.png", 150, 150);
  writePngHeader(folder_ / "plugin" / "veryGood.png", 60, 60);
  std::ofstream(folder_ / "plugin" / "broken.png") << "not an image";
  NSBundle::setMainBundlePath((folder_ / "app").string());
  const auto plugin = NSBundle::registerBundle("com.example.plugin", (folder_ / "plugin").string());
  EXPECT_EQ(NSBundle::bundleWithIdentifier("com.example.plugin"), plugin);
  EXPECT_EQ(NSBundle::bundleWithIdentifier("com.example.none"), nullptr);

  const auto radio = UIImage::imageNamed("radio.png");
  ASSERT_NE(radio, nullptr);
  EXPECT_EQ(radio->scale(), 2);
  EXPECT_EQ(radio->size(), (CGSize{25, 25}));
  EXPECT_EQ(UIImage::imageNamed("radio.png"), radio);

  const auto cancel = UIImage::imageNamed("cancel.png", plugin, nullptr);
  ASSERT_NE(cancel, nullptr);
  EXPECT_EQ(cancel->size(), (CGSize{50, 50}));
  EXPECT_EQ(UIImage::imageNamed("cancel.png", plugin, nullptr), cancel);

  // Names are exact: each bundle holds only its own files, and case matters.
  EXPECT_EQ(UIImage::imageNamed("cancel.png"), nullptr);
  EXPECT_EQ(UIImage::imageNamed("verygood.png", plugin, nullptr), nullptr);
  EXPECT_NE(UIImage::imageNamed("veryGood.png", plugin, nullptr), nullptr);
  EXPECT_EQ(UIImage::imageNamed("broken.png", plugin, nullptr), nullptr);
  EXPECT_EQ(UIImage::imageNamed("../app/radio.png", plugin, nullptr), nullptr);
}

TEST_F(ResourcesTest, BundlesThatTheProgramDidNotRegisterComeFromTheInstalledOnes) {
  const auto installed = folder_ / "installed";
  fs::create_directories(installed / "com.example.installed");
  fs::create_directories(installed / "main");
  writePngHeader(installed / "main" / "radio.png", 25, 25);
  NSBundle::setMainBundlePath("");
  NSBundle::setInstalledBundlesDirectory(installed.string());

  const auto found = NSBundle::bundleWithIdentifier("com.example.installed");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->bundlePath(), (installed / "com.example.installed").string());
  EXPECT_EQ(NSBundle::bundleWithIdentifier("com.example.installed"), found);
  EXPECT_EQ(NSBundle::mainBundle()->bundlePath(), (installed / "main").string());
  EXPECT_NE(UIImage::imageNamed("radio.png"), nullptr);
  // An identifier is one folder name: nothing above or beside the bundles directory is reached.
  for (const char* name : {"", ".", "..", "main/..", "../installed/main"}) {
    EXPECT_EQ(NSBundle::bundleWithIdentifier(name), nullptr) << name;
  }

  // What the program registers or sets wins over what is installed.
  const auto own = NSBundle::registerBundle("com.example.installed", (folder_ / "plugin").string());
  EXPECT_EQ(NSBundle::bundleWithIdentifier("com.example.installed"), own);
  NSBundle::setMainBundlePath((folder_ / "app").string());
  NSBundle::setInstalledBundlesDirectory(installed.string());
  EXPECT_EQ(NSBundle::mainBundle()->bundlePath(), (folder_ / "app").string());

  // Without an installed package the main bundle is the current folder, as before.
  NSBundle::setInstalledBundlesDirectory("");
  NSBundle::setMainBundlePath("");
  EXPECT_EQ(NSBundle::mainBundle()->bundlePath(), ".");
  EXPECT_EQ(NSBundle::bundleWithIdentifier("com.example.elsewhere"), nullptr);
}

TEST(FontTest, OnlyKnownNamesResolve) {
  const auto bold = UIFont::fontWithName("HelveticaNeue-Bold", 16);
  ASSERT_NE(bold, nullptr);
  EXPECT_EQ(bold->weight(), UIFontWeight::Bold);
  EXPECT_EQ(bold->pointSize(), 16);
  EXPECT_EQ(UIFont::fontWithName("HleveticaNeue-Medium", 16), nullptr);
  EXPECT_EQ(UIFont::systemFontOfSize(17)->pointSize(), 17);
}

}  // namespace
}  // namespace vlq::toolkit
