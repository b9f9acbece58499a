#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <gtkmm/widget.h>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// What an interface file lays out: widgets, which have names, and controls, which name the action
/// that they call. The widgets live as long as this object, or as whoever holds them. Main queue.
class InterfaceFile {
 public:
  /// By the name that the file gives as the handler of a signal.
  using Actions = std::map<std::string, std::function<void()>>;

  /// An error when the file cannot be read, is no interface file or names an action that is not
  /// there.
  static Expected<InterfaceFile> load(const std::filesystem::path& file, const Actions& actions);

  /// The widget of that name; an error when there is none or it is of another kind.
  template <typename Widget>
  Expected<Widget*> widget(const std::string& name) const {
    const auto found = find(name);
    if (!found) return tl::unexpected(found.error());
    if (auto* widget = dynamic_cast<Widget*>(*found)) return widget;
    return tl::unexpected(wrongKind(name, **found));
  }

  NSError error(const std::string& reason) const;

 private:
  struct Unref {
    void operator()(GtkBuilder* builder) const;
  };
  using Builder = std::unique_ptr<GtkBuilder, Unref>;

  InterfaceFile(std::filesystem::path file, Builder builder);

  Expected<Gtk::Widget*> find(const std::string& name) const;
  NSError wrongKind(const std::string& name, Gtk::Widget& widget) const;

  std::filesystem::path file_;
  Builder builder_;
};

}  // namespace orvane
