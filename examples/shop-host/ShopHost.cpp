#include "ShopHost.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>

std::unique_ptr<ShopHost> ShopHost::start(const Options& options, std::string* error) {
  std::unique_ptr<ShopHost> shop(new ShopHost);
  std::string service = options.serviceAddress;
  if (service.empty()) {
    shop->collector_ = vlq::collector::CollectorServer::start({}, error);
    if (!shop->collector_) return nullptr;
    shop->collector_->setResponseObserver([](const vlq::collector::StoredResponse& response) {
      std::printf("response stored: %s\n", response.body.dump().c_str());
      std::fflush(stdout);
    });
    service = shop->collector_->baseUrl();
  }
  shop->library_ =
      (std::filesystem::temp_directory_path() / ("vlq-shop-" + std::to_string(::getpid())))
          .string();
  vlq::reference::ReferenceHostOptions host;
  host.libraryDirectory = shop->library_;
  host.serviceAddress = service;
  host.syncSource = std::filesystem::absolute(options.configFile).string();
  shop->host_ = vlq::reference::ReferenceHost::create(host);
  shop->host_->install();
  shop->plugin_ = vlq::plugin::VLQSurveyPlugin::create();
  shop->plugin_->initialize({});
  shop->plugin_->start();
  return shop;
}

ShopHost::~ShopHost() {
  host_->shutdown();
  if (collector_) collector_->stop();
  std::error_code ignored;
  std::filesystem::remove_all(library_, ignored);
}

void ShopHost::placeOrder() {
  host_->raiseEvent(
      vlq::VLQEvent(vlq::plugin::kSurveyTriggerEventType, vlq::Json{{"id", "checkout-feedback"}}));
}

bool ShopHost::synced() const {
  return !plugin_->surveyConfig().is_null();
}
