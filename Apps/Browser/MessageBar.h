#pragma once

#include <functional>
#include <string>

#include <gtkmm.h>

namespace orvane {

/// A sentence for the user above the page, until it is out of date or has been dismissed.
class MessageBar final : public Gtk::Box {
 public:
  MessageBar();

  void show(const std::string& message);
  /// Shows a question with a button that does it and ends the message.
  void ask(const std::string& question, const std::string& answer, std::function<void()> action);
  void hide();
  /// Empty when there is none.
  Gtk::Button& answer() { return answer_; }
  std::string message() const { return get_visible() ? label_.get_text().raw() : ""; }

 private:
  void open(const std::string& message);

  Gtk::Label label_;
  Gtk::Button answer_;
  Gtk::Button close_;
  std::function<void()> action_;
};

}  // namespace orvane
