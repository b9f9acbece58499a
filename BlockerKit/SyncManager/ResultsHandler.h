#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BlockerKit/Catalogue/DataManager.h"
#include "BlockerKit/SyncManager/RemoteChanges.h"
#include "Platform/Foundation/Executor.h"

namespace orvane {

/// Collects what the passes of a fetch bring until the cloud has sent everything, and then applies
/// it to the catalogue in one go and has that saved: deletions before additions, and packages
/// before rules, so that a rule finds the package that has come with it.
class ResultsHandler {
 public:
  using PagesSaved = std::function<bool(const std::vector<std::string>& pages)>;

  /// `dataManager` belongs to `mainQueue`, as do the construction and the destruction; both outlive
  /// this. `pagesSaved` is called there when the package files have all that came on these pages;
  /// after false the same pages come again with the next ones.
  ResultsHandler(Executor& mainQueue, DataManager& dataManager, PagesSaved pagesSaved)
      : mainQueue_(mainQueue), dataManager_(dataManager), pagesSaved_(std::move(pagesSaved)) {}
  ResultsHandler(const ResultsHandler&) = delete;
  ResultsHandler& operator=(const ResultsHandler&) = delete;
  ~ResultsHandler() = default;

  /// Keeps the changes of a pass for the next one that ends a fetch. `page` is where they are
  /// stored; empty when they are not. One queue, the same as for `apply`.
  void append(RemoteChanges changes, const std::string& page);

  /// Appends the changes of a pass, and unless more are coming applies all that was appended, on
  /// the main queue. `completion`, which may be empty, is then called with the result of the reload
  /// that follows, but not when there is nothing to apply.
  void apply(RemoteChanges changes, const std::string& page, bool moreComing,
             SafariReloadingHandler completion);

 private:
  void applyOnMainQueue(RemoteChanges changes, const std::vector<std::string>& pages,
                        SafariReloadingHandler completion);
  Package withRulesHeldHere(const Package& package);

  Executor& mainQueue_;
  DataManager& dataManager_;
  PagesSaved pagesSaved_;

  // Of the calling queue.
  std::vector<std::string> deletedPending_;
  std::vector<std::pair<Rule, std::string>> rulesPending_;
  std::vector<Package> packagesPending_;
  std::vector<std::string> pagesPending_;

  // Of the main queue.
  /// Pages that have been applied, and could not be saved or removed yet.
  std::vector<std::string> pagesUnsaved_;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
