#pragma once

// The survey side of the two shop examples: the reference host syncs the survey configuration
// from a file and posts each response to a service (a response collector of its own on 127.0.0.1
// unless a service address is given); the survey plug-in runs on top of it. "Place order" raises
// the trigger of the checkout survey.

#include <memory>
#include <string>

#include <vlq/collector/CollectorServer.h>
#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/plugin/VLQSurveyPlugin.h>

class ShopHost {
 public:
  struct Options {
    // The survey configuration document the host syncs.
    std::string configFile;
    // Where responses are posted ("http://host:port"); empty: a collector of the shop's own.
    std::string serviceAddress;
  };

  // Null, with a message in `error`, when the collector cannot start.
  static std::unique_ptr<ShopHost> start(const Options& options, std::string* error);
  // Shuts the host down and removes its Library directory.
  ~ShopHost();

  // The checkout survey's trigger: host event 15 naming the survey.
  void placeOrder();
  // Whether the plug-in has the configuration, and so listens for triggers.
  bool synced() const;

  vlq::reference::ReferenceHost& host() { return *host_; }
  // The shop's own collector; null when posting to a service.
  vlq::collector::CollectorServer* collector() { return collector_.get(); }

 private:
  ShopHost() = default;

  std::unique_ptr<vlq::collector::CollectorServer> collector_;
  std::string library_;
  std::shared_ptr<vlq::reference::ReferenceHost> host_;
  std::shared_ptr<vlq::plugin::VLQSurveyPlugin> plugin_;
};
