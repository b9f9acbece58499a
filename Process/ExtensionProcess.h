#pragma once

#include "Platform/SafariServices/ExtensionHost.h"
#include "Process/Process.h"
#include "SafariExtension/Extension/Reporter.h"
#include "SafariExtension/Extension/SafariExtensionHandler.h"
#include "SafariExtension/Extension/SafariExtensionViewController.h"

namespace orvane {

/// The process of a browser that hosts the extension. It never loads the pre-installed packages, so
/// what it saves is left to the companion application to bring to the browser. Main queue.
class ExtensionProcess {
 public:
  /// Both, and their services, outlive the process.
  ExtensionProcess(Platform& platform, ExtensionHost& host)
      : process_(platform),
        reporter_(platform),
        viewController_(platform, host, process_.store(), process_.defaults(),
                        process_.dataManager(), process_.perSiteRules(),
                        [this](const Report& report, ReportCompletion completion) {
                          reporter_.post(report, std::move(completion));
                        }),
        handler_(platform, host, process_.store(), process_.defaults(), process_.dataManager(),
                 process_.perSiteRules(), viewController_) {}

  Process& process() { return process_; }
  SafariExtensionViewController& viewController() { return viewController_; }
  SafariExtensionHandler& handler() { return handler_; }

 private:
  Process process_;
  Reporter reporter_;
  SafariExtensionViewController viewController_;
  SafariExtensionHandler handler_;
};

}  // namespace orvane
