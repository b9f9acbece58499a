#include "Apps/Companion/AccountCommand.h"

#include <string>

#include <fmt/format.h>

#include "Apps/Companion/Failure.h"
#include "Apps/Companion/JSONAnswer.h"
#include "Apps/Companion/Printable.h"
#include "Linux/PostgreSQL/PostgreSQLAddress.h"
#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {
namespace {

struct Account {
  std::string cloud;
  std::string chosenBy;
  /// Empty when it works.
  std::string problem;
};

std::string chosenBy(const CloudAccount& account) {
  if (!account.address) return "nothing: there is no other cloud without a choice";
  if (account.file) return fmt::format("the file '{}'", account.file->string());
  return fmt::format("the environment variable {}", CloudAccount::environmentVariable);
}

std::string problemOf(CKAccountStatus status) {
  switch (status) {
    case CKAccountStatus::available:
      return "";
    case CKAccountStatus::noAccount:
      return "The server does not let this user in: the name or the password is another one, or "
             "there is no account, which 'orvane cloud add-user' makes.";
    case CKAccountStatus::restricted:
      return "The server lets this user in and do nothing; 'orvane cloud add-user' mends that.";
    case CKAccountStatus::couldNotDetermine:
      break;
  }
  return "It cannot be told whether there is an account.";
}

std::string problemOf(const CKError& error) {
  if (error.code != CKErrorCode::badContainer) return error.localizedDescription;
  return error.localizedDescription + " On a server, 'orvane cloud install' prepares the database.";
}

std::string problemWith(LinuxPlatform& machine) {
  const auto status = machine.platform().cloud.accountStatus(CloudCall{});
  return status ? problemOf(*status) : problemOf(status.error());
}

Account ask(LinuxPlatform& machine) {
  const auto& chosen = machine.cloudAccount();
  if (!chosen) return {"", "", chosen.error().localizedDescription};
  Account account{.cloud = "", .chosenBy = chosenBy(*chosen), .problem = ""};
  if (!chosen->address) {
    account.cloud = fmt::format("this machine alone, in '{}'", machine.cloudFile().string());
  } else if (const auto described = describedAddress(*chosen->address)) {
    account.cloud = *described;
  } else {
    account.problem = described.error().localizedDescription;
    return account;
  }
  account.problem = problemWith(machine);
  return account;
}

}  // namespace

int runAccountCommand(LinuxPlatform& machine, bool asJSON) {
  const auto account = ask(machine);
  if (asJSON) {
    printJSON([&](JSONWriter& writer) {
      writer.StartObject();
      writeText(writer, "cloud", account.cloud);
      writeText(writer, "chosenBy", account.chosenBy);
      writeBoolean(writer, "works", account.problem.empty());
      writeText(writer, "problem", account.problem);
      writer.EndObject();
    });
    return account.problem.empty() ? 0 : 1;
  }
  if (!account.cloud.empty()) fmt::print("Cloud:      {}\n", printable(account.cloud));
  if (!account.chosenBy.empty()) fmt::print("Chosen by:  {}\n", printable(account.chosenBy));
  if (!account.problem.empty()) return failure(account.problem);
  fmt::print("It works.\n");
  return 0;
}

}  // namespace orvane
