#pragma once

#include <string>

namespace vlq::reference {

// Where the reference host keeps its files and where it finds its services.
struct ReferenceHostOptions {
  // The application's Library directory: the configuration file, the device id and (by default)
  // the analytics database live here. Created when missing.
  std::string libraryDirectory;
  // Scheme, host and port that posted paths are resolved against, e.g. "http://127.0.0.1:8080";
  // a path after the port is kept as a prefix of every posted path.
  std::string serviceAddress;
  // Where the "surveys" sync fetches the configuration document: a file path, or an http:// or
  // https:// URL. Empty: the sync fetches nothing and only completes.
  std::string syncSource;
  // A JSON file with the session, application and user values (HostSettings.h); optional.
  std::string settingsFile;
  // The SQLite file of the analytics events; empty: <libraryDirectory>/vlq-analytics.sqlite.
  std::string analyticsDatabase;
};

}  // namespace vlq::reference
