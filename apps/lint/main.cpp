// vlq-survey-lint: reads a survey configuration document with the plug-in's own records and rules
// and tells its author what the plug-in will do with it.
//
//   vlq-survey-lint FILE [--json] [--strict]
//
// Exit status: 0 without errors, 1 with errors (with --strict also with warnings), 2 when the file
// cannot be read or the options are wrong.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "lint/ConfigurationLint.h"
#include "lint/ReportOutput.h"

namespace {

constexpr char kUsage[] = "usage: vlq-survey-lint FILE [--json] [--strict]\n";

bool readFile(const std::string& path, std::string& text, std::string& error) {
  std::error_code status;
  if (std::filesystem::is_directory(path, status)) {
    error = "is a directory";
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    error = std::strerror(errno);
    return false;
  }
  std::ostringstream buffer;
  buffer << file.rdbuf();
  if (file.bad()) {
    error = "read error";
    return false;
  }
  text = buffer.str();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::string path;
  bool json = false;
  bool strict = false;
  for (int index = 1; index < argc; ++index) {
    const std::string argument = argv[index];
    if (argument == "--help" || argument == "-h") {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (argument == "--json") {
      json = true;
    } else if (argument == "--strict") {
      strict = true;
    } else if (argument.size() > 1 && argument[0] == '-') {
      std::fprintf(stderr, "vlq-survey-lint: unknown option %s\n%s", argument.c_str(), kUsage);
      return 2;
    } else if (!path.empty()) {
      std::fprintf(stderr, "vlq-survey-lint: one FILE only\n%s", kUsage);
      return 2;
    } else {
      path = argument;
    }
  }
  if (path.empty()) {
    std::fprintf(stderr, "vlq-survey-lint: FILE is required\n%s", kUsage);
    return 2;
  }

  std::string text;
  std::string error;
  if (!readFile(path, text, error)) {
    std::fprintf(stderr, "vlq-survey-lint: cannot read %s: %s\n", path.c_str(), error.c_str());
    return 2;
  }
  const auto report = vlq::lint::lintConfiguration(text);
  if (json) {
    std::cout << vlq::lint::reportJson(report).dump(2, ' ', false,
                                                    vlq::Json::error_handler_t::replace)
              << "\n";
  } else {
    std::cout << vlq::lint::reportText(report);
  }
  std::cout.flush();
  using vlq::lint::Severity;
  const bool failed = report.has(Severity::Error) || (strict && report.has(Severity::Warning));
  return failed ? 1 : 0;
}
