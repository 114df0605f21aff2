#pragma once

// The little of Foundation's file system the plug-in uses: where the user's Library directory is,
// joining path components, and whether a file exists. The Library directory is $HOME/Library
// unless a host or a test points it elsewhere.

#include <string>
#include <vector>

#include <vlq/Export.h>

namespace vlq::toolkit {

enum class NSSearchPathDirectory { NSLibraryDirectory = 5 };
enum class NSSearchPathDomainMask { NSUserDomainMask = 1 };

// The directories of `directory` in `domain`, most important first; with `expandTilde` false a
// path under the home directory starts with "~".
VLQ_API std::vector<std::string> NSSearchPathForDirectoriesInDomains(
    NSSearchPathDirectory directory, NSSearchPathDomainMask domain, bool expandTilde);

// Points the user's Library directory at `path` (empty: back to $HOME/Library). Thread-safe.
VLQ_API void setUserLibraryDirectory(const std::string& path);

// `path` and `component` joined by exactly one "/".
VLQ_API std::string stringByAppendingPathComponent(const std::string& path,
                                                   const std::string& component);

class VLQ_API NSFileManager {
 public:
  static NSFileManager& defaultManager();
  // True for an existing file or directory.
  bool fileExistsAtPath(const std::string& path) const;
};

}  // namespace vlq::toolkit
