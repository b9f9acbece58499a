#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include <gmock/gmock.h>
#include <gtkmm/box.h>
#include <gtkmm/drawingarea.h>
#include <gtkmm/dropdown.h>
#include <gtkmm/image.h>
#include <gtkmm/init.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/settings.h>
#include <gtkmm/spinner.h>
#include <gtkmm/stringlist.h>
#include <gtkmm/textview.h>

#include "Apps/Browser/ExtensionPopover.h"
#include "Tests/Apps/Browser/PopoverFixture.h"
#include "Tests/EndToEnd/VirtualDisplay.h"
#include "Tests/Linux/GTK/GTKTest.h"
#include "Tests/Linux/GTK/Picture.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Lt;
using ::testing::Not;
using ::testing::SizeIs;

using std::chrono::seconds;

const std::string reloadKey(rawValue(Communication::Message::reloadRulesFromDisk));

/// The widget of that name in the interface file; null when it is not below `root`.
Gtk::Widget* findWidget(Gtk::Widget& root, const std::string& name) {
  const char* id = gtk_buildable_get_buildable_id(GTK_BUILDABLE(root.gobj()));
  if (id != nullptr && name == id) return &root;
  for (auto* child = root.get_first_child(); child != nullptr; child = child->get_next_sibling()) {
    if (auto* found = findWidget(*child, name)) return found;
  }
  return nullptr;
}

/// The text of a label, or of the label in a button.
std::string textOf(Gtk::Widget& widget) {
  if (const auto* label = dynamic_cast<Gtk::Label*>(&widget)) return label->get_text();
  return dynamic_cast<Gtk::Label&>(*dynamic_cast<Gtk::Button&>(widget).get_child()).get_text();
}

class ExtensionPopoverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(VirtualDisplay::ofThisProcess().isReady());
    Gtk::init_gtkmm_internals();
  }
  void TearDown() override {
    popover.reset();
    scene.reset();
  }

  /// Loads the popover for a page.
  void load(const std::optional<std::string>& url = "https://www.example.com/news") {
    scene = std::make_unique<PopoverScene>(url);
    auto loaded =
        ExtensionPopover::load(scene->controller, PopoverScene::interfaceFile(), scene->button);
    ASSERT_TRUE(loaded) << loaded.error().localizedDescription;
    popover = *std::move(loaded);
  }
  /// Loads and opens it.
  void open(const std::optional<std::string>& url = "https://www.example.com/news") {
    load(url);
    ASSERT_TRUE(popover);
    popover->open();
    scene->loop.runUntil([this] { return widget("stack").get_mapped(); });
  }

  template <typename Widget = Gtk::Widget>
  Widget& widget(const std::string& name) {
    auto* found = findWidget(scene->window, name);
    if (found == nullptr) throw std::runtime_error("there is no " + name);
    return dynamic_cast<Widget&>(*found);
  }
  std::string text(const std::string& name) { return textOf(widget(name)); }
  void pressButton(const std::string& name) { press(widget(name)); }
  /// A button that the controller does not know.
  Gtk::Button& buttonNamed(Gtk::Widget& root, const std::string& title) {
    for (auto* child = root.get_first_child(); child != nullptr;
         child = child->get_next_sibling()) {
      auto* button = dynamic_cast<Gtk::Button*>(child);
      if (button != nullptr && textOf(*button) == title) return *button;
    }
    if (auto* last = root.get_last_child(); last != nullptr && dynamic_cast<Gtk::Box*>(last)) {
      return buttonNamed(*last, title);
    }
    throw std::runtime_error("there is no button " + title);
  }
  SafariExtensionViewController& controller() { return scene->controller; }
  Gtk::Widget* focus() { return scene->window.get_focus(); }
  std::vector<std::string> urlsOpened() { return scene->machine.workspace.openedURLs; }

  std::unique_ptr<PopoverScene> scene;
  std::unique_ptr<ExtensionPopover> popover;
};

// The interface file.

TEST_F(ExtensionPopoverTest, EveryOutletIsThereAndOfItsKind) {
  load();
  EXPECT_NO_THROW(widget<Gtk::Box>("stack"));
  EXPECT_NO_THROW(widget<Gtk::Widget>("iconContainer"));
  EXPECT_NO_THROW(widget<Gtk::Box>("mainPanel"));
  EXPECT_NO_THROW(widget<Gtk::Box>("reportPanel"));
  EXPECT_NO_THROW(widget<Gtk::Spinner>("spinner"));
  EXPECT_NO_THROW(widget<Gtk::DropDown>("reportReasonSelector"));
  EXPECT_NO_THROW(widget<Gtk::TextView>("reportComments"));
  EXPECT_NO_THROW(widget<Gtk::DrawingArea>("commentScroller"));
  EXPECT_NO_THROW(widget<Gtk::ScrolledWindow>("commentClipView"));
  EXPECT_NO_THROW(widget<Gtk::Box>("commentScrollView"));
  for (const char* name : {"statusLabel", "reportStatus"}) {
    EXPECT_NO_THROW(widget<Gtk::Label>(name)) << name;
  }
  for (const char* name : {"blockerButton", "pauseButton", "whitelistButton", "makeHttpsButton",
                           "hideButton", "feedbackButton", "sendButton"}) {
    EXPECT_NO_THROW(widget<Gtk::Button>(name)) << name;
  }
}

TEST_F(ExtensionPopoverTest, TheStackHoldsThePanels) {
  load();
  auto& stack = widget<Gtk::Box>("stack");
  EXPECT_EQ(stack.get_orientation(), Gtk::Orientation::VERTICAL);
  EXPECT_EQ(stack.get_first_child(), &widget("mainPanel"));
  EXPECT_EQ(stack.get_last_child(), &widget("reportPanel"));
  EXPECT_EQ(widget("mainPanel").get_next_sibling(), &widget("reportPanel"));
}

TEST_F(ExtensionPopoverTest, TheMainPanelIsInOrder) {
  open();
  auto* icon = widget("mainPanel").get_first_child();
  EXPECT_EQ(icon, &widget("iconContainer"));
  EXPECT_EQ(icon->get_next_sibling(), &widget("statusLabel"));
  std::vector<std::string> titles;
  for (auto* child = icon; child != nullptr; child = child->get_next_sibling()) {
    if (dynamic_cast<Gtk::Button*>(child) != nullptr) titles.push_back(textOf(*child));
  }
  EXPECT_THAT(titles, ElementsAre("⏸ Pause Blocking", "✅ Add to Whitelist", "🔒 Make HTTPS-only",
                                  "👁 Hide an Element", "💬 Report a Problem",
                                  "✉️ Write Us an E-mail"));
}

TEST_F(ExtensionPopoverTest, TitlesThatTheControllerDoesNotSetAreTheFiles) {
  load();
  EXPECT_EQ(controller().hideButton.title(), "👁 Hide an Element");
  EXPECT_EQ(controller().feedbackButton.title(), "💬 Report a Problem");
  EXPECT_EQ(controller().sendButton.title(), "Send Report");
}

TEST_F(ExtensionPopoverTest, TheReasonsAreInTheOrderOfTheReportTypes) {
  load();
  const auto model = std::dynamic_pointer_cast<Gtk::StringList>(
      widget<Gtk::DropDown>("reportReasonSelector").get_model());
  ASSERT_TRUE(model);
  std::vector<std::string> reasons;
  for (guint index = 0; index < model->get_n_items(); ++index) {
    reasons.push_back(model->get_string(index));
  }
  EXPECT_THAT(reasons, ElementsAre("The site is broken", "Something is not blocked",
                                   "There is an empty space", "Something else"));
  EXPECT_EQ(reasons.size(), RawValues<ReportType>::table.size());
}

TEST_F(ExtensionPopoverTest, TheViewsAreToldThatTheyHaveLoaded) {
  load();
  EXPECT_EQ(controller().reportComments.textContainerInset(), (NSSize{2, 4}));
  EXPECT_EQ(widget<Gtk::TextView>("reportComments").get_left_margin(), 2);
  EXPECT_EQ(widget<Gtk::TextView>("reportComments").get_top_margin(), 4);
}

/// A folder with the files of the popover, which a test can damage.
class DamagedPopover : public ExtensionPopoverTest {
 protected:
  void SetUp() override {
    ExtensionPopoverTest::SetUp();
    scene = std::make_unique<PopoverScene>();
    const auto original = PopoverScene::interfaceFile();
    for (const auto& name : {"SafariExtensionViewController.ui", "Popover.css", "orvane.svg"}) {
      std::filesystem::copy_file(original.parent_path() / name, folder / name);
    }
  }
  void replace(const std::string& old, const std::string& now) {
    std::string content = read();
    const auto place = content.find(old);
    ASSERT_NE(place, std::string::npos) << old;
    content.replace(place, old.size(), now);
    std::ofstream(file) << content;
  }
  std::string read() const {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  std::string error() {
    const auto loaded = ExtensionPopover::load(scene->controller, file, scene->button);
    return loaded ? "no error" : loaded.error().localizedDescription;
  }

  TemporaryDirectory folder;
  std::filesystem::path file = folder / "SafariExtensionViewController.ui";
};

TEST_F(DamagedPopover, UndamagedItLoads) { EXPECT_EQ(error(), "no error"); }

TEST_F(DamagedPopover, AMissingInterfaceFileIsAnError) {
  std::filesystem::remove(file);
  EXPECT_THAT(error(), HasSubstr(file.string()));
}

TEST_F(DamagedPopover, ABrokenInterfaceFileIsAnError) {
  const std::string original = read();
  replace("</interface>", "</interfaces>");
  EXPECT_THAT(error(), HasSubstr(file.string()));
  std::ofstream(file) << original.substr(0, original.size() / 2);
  EXPECT_THAT(error(), HasSubstr(file.string()));
}

TEST_F(DamagedPopover, EachOutletThatIsMissingIsAnError) {
  const std::string original = read();
  for (const std::string name :
       {"stack", "iconContainer", "mainPanel", "reportPanel", "statusLabel", "reportStatus",
        "spinner", "reportReasonSelector", "reportComments", "commentScroller", "commentClipView",
        "commentScrollView", "blockerButton", "pauseButton", "whitelistButton", "makeHttpsButton",
        "hideButton", "feedbackButton", "sendButton"}) {
    std::ofstream(file) << original;
    replace("id=\"" + name + "\"", "id=\"other\"");
    if (name == "reportStatus") replace(">reportStatus<", ">other<");
    EXPECT_THAT(error(), HasSubstr("there is no widget named \"" + name + "\""));
  }
}

TEST_F(DamagedPopover, AnOutletOfAnotherKindIsAnError) {
  replace(R"("GtkSpinner" id="spinner")", R"("GtkLabel" id="spinner")");
  EXPECT_THAT(error(), HasSubstr("\"spinner\" must not be a GtkLabel"));
}

TEST_F(DamagedPopover, AnUnknownActionIsAnError) {
  replace("handler=\"pause:\"", "handler=\"explode:\"");
  EXPECT_THAT(error(), HasSubstr("there is no action named \"explode:\""));
}

TEST_F(DamagedPopover, AMissingOrBrokenStyleIsAnError) {
  std::ofstream(folder / "Popover.css") << ".orvane { color: ; }";
  EXPECT_THAT(error(), HasSubstr("Popover.css"));
  std::filesystem::remove(folder / "Popover.css");
  EXPECT_THAT(error(), HasSubstr("Popover.css"));
}

TEST_F(DamagedPopover, AfterAnErrorTheControllerCanBeShownAllTheSame) {
  replace("id=\"sendButton\"", "id=\"other\"");
  EXPECT_THAT(error(), HasSubstr("sendButton"));
  replace("id=\"other\"", "id=\"sendButton\"");
  controller().pauseButton.setTitle("nobody is told");
  EXPECT_EQ(error(), "no error");
}

// Opening and closing.

TEST_F(ExtensionPopoverTest, OpeningShowsItForTheSiteInFront) {
  load();
  EXPECT_FALSE(popover->isOpen());
  EXPECT_EQ(controller().view().window(), nullptr);
  popover->open();
  EXPECT_TRUE(popover->isOpen());
  EXPECT_EQ(controller().view().window(), popover.get());
  EXPECT_EQ(text("statusLabel"), "www.example.com");
  EXPECT_TRUE(widget("mainPanel").get_visible());
  EXPECT_FALSE(widget("reportPanel").get_visible());
}

TEST_F(ExtensionPopoverTest, WithoutASiteItNamesNone) {
  open(std::nullopt);
  EXPECT_FALSE(widget("statusLabel").get_visible());
}

TEST_F(ExtensionPopoverTest, TheSpaceBehindTheIconIsEleven) {
  open();
  Picture::of(widget("stack"));
  const auto& icon = widget("iconContainer");
  const auto& label = widget("statusLabel");
  EXPECT_EQ(label.get_allocation().get_y() -
                (icon.get_allocation().get_y() + icon.get_allocation().get_height()),
            11);
}

TEST_F(ExtensionPopoverTest, ALongHostIsToldInWholeAndKeepsTheWidth) {
  open("https://a.example/");
  Picture::of(widget("stack"));
  const int width = widget("stack").get_width();
  const std::string host = "articles.static.regional-newspaper-of-the-northern-harbour.example";
  controller().setCurrentURL(NSURL::fromString("https://" + host + "/"));
  Picture::of(widget("stack"));
  EXPECT_EQ(widget("stack").get_width(), width);
  EXPECT_EQ(widget("statusLabel").get_tooltip_text().raw(), host);
  auto* layout = gtk_label_get_layout(widget<Gtk::Label>("statusLabel").gobj());
  EXPECT_EQ(pango_layout_get_line_count(layout), 2);
  EXPECT_FALSE(pango_layout_is_ellipsized(layout));
}

TEST_F(ExtensionPopoverTest, ClosingTakesTheWindowFromTheViews) {
  open();
  popover->close();
  EXPECT_FALSE(popover->isOpen());
  EXPECT_EQ(controller().view().window(), nullptr);
  popover->open();
  EXPECT_TRUE(popover->isOpen());
}

TEST_F(ExtensionPopoverTest, DismissingTakesTheWindowFromTheViews) {
  open();
  auto& shown = *widget("stack").get_ancestor(GTK_TYPE_POPOVER);
  // What Escape and a press outside come to.
  gtk_popover_popdown(GTK_POPOVER(shown.gobj()));
  EXPECT_FALSE(popover->isOpen());
  EXPECT_EQ(controller().view().window(), nullptr);
}

TEST_F(ExtensionPopoverTest, OpeningAgainIsNoSecondAppearance) {
  open();
  scene->machine.standardOutput.take();
  popover->open();
  EXPECT_THAT(scene->machine.standardOutput.lines, IsEmpty());
}

TEST_F(ExtensionPopoverTest, ItDoesNotOpenFromAButtonThatNobodySees) {
  load();
  scene->window.set_visible(false);
  popover->open();
  EXPECT_FALSE(popover->isOpen());
  EXPECT_EQ(controller().view().window(), nullptr);
}

TEST_F(ExtensionPopoverTest, ItClosesWithItsWindow) {
  open();
  scene->window.set_visible(false);
  EXPECT_FALSE(popover->isOpen());
  EXPECT_EQ(controller().view().window(), nullptr);
}

TEST_F(ExtensionPopoverTest, AButtonThatGoesAwayClosesItForGood) {
  load();
  auto* button = new Gtk::Button("another");
  scene->window.set_child(*button);
  popover.reset();
  auto loaded = ExtensionPopover::load(scene->controller, PopoverScene::interfaceFile(), *button);
  ASSERT_TRUE(loaded);
  scene->loop.runUntil([&] { return button->get_mapped(); });
  (*loaded)->open();
  EXPECT_TRUE((*loaded)->isOpen());
  scene->window.unset_child();
  delete button;
  EXPECT_FALSE((*loaded)->isOpen());
  EXPECT_EQ(controller().view().window(), nullptr);
  (*loaded)->open();
  EXPECT_FALSE((*loaded)->isOpen());
}

TEST_F(ExtensionPopoverTest, WhatEndsWhileOpenLeavesTheViewsFree) {
  open();
  popover.reset();
  EXPECT_EQ(controller().view().window(), nullptr);
  EXPECT_EQ(scene->button.get_last_child(), scene->button.get_child()) << "no popover is left";
  controller().pauseButton.setTitle("nobody is told");
  EXPECT_EQ(controller().pauseButton.title(), "nobody is told");
}

// Where the keys go.

TEST_F(ExtensionPopoverTest, TheFirstSwitchHasTheKeysInTheMainPanel) {
  open();
  EXPECT_EQ(focus(), &widget("pauseButton"));
}

TEST_F(ExtensionPopoverTest, TheCommentHasTheKeysInTheReportPanel) {
  open();
  pressButton("feedbackButton");
  EXPECT_EQ(focus(), &widget("reportComments"));
  press(buttonNamed(widget("reportPanel"), "Back"));
  EXPECT_EQ(focus(), &widget("pauseButton"));
}

TEST_F(ExtensionPopoverTest, AReportThatWasLeftOpenHasTheKeysWhenThePopoverOpensAgain) {
  open();
  pressButton("feedbackButton");
  popover->close();
  popover->open();
  EXPECT_EQ(focus(), &widget("reportComments"));
}

TEST_F(ExtensionPopoverTest, TheTabKeyGoesThroughTheMainPanelInOrder) {
  open();
  std::vector<Gtk::Widget*> visited{focus()};
  for (int steps = 0; steps < 6; ++steps) {
    widget("stack").child_focus(Gtk::DirectionType::TAB_FORWARD);
    visited.push_back(focus());
  }
  EXPECT_THAT(visited, ElementsAre(&widget("pauseButton"), &widget("whitelistButton"),
                                   &widget("makeHttpsButton"), &widget("hideButton"),
                                   &widget("feedbackButton"),
                                   &buttonNamed(widget("mainPanel"), "✉️ Write Us an E-mail"),
                                   &buttonNamed(widget("mainPanel"), "✉️ Write Us an E-mail")));
}

TEST_F(ExtensionPopoverTest, TheTabKeyLeavesTheComment) {
  open();
  pressButton("feedbackButton");
  EXPECT_FALSE(widget<Gtk::TextView>("reportComments").get_accepts_tab());
  widget("stack").child_focus(Gtk::DirectionType::TAB_FORWARD);
  EXPECT_EQ(focus(), &buttonNamed(widget("reportPanel"), "Back"));
  widget("stack").child_focus(Gtk::DirectionType::TAB_FORWARD);
  EXPECT_EQ(focus(), &widget("sendButton"));
}

TEST_F(ExtensionPopoverTest, AViewThatIsNotShownGetsNoKeys) {
  open();
  NSView stranger;
  popover->makeFirstResponder(stranger);
  EXPECT_EQ(focus(), &widget("pauseButton"));
}

// What the controls do.

TEST_F(ExtensionPopoverTest, ThePauseButtonPausesAndResumes) {
  open();
  pressButton("pauseButton");
  EXPECT_EQ(text("pauseButton"), "⚠️ Resume Blocking");
  EXPECT_TRUE(scene->machine.suite().boolForKey(Communication::pausedKey));
  EXPECT_EQ(scene->host.application.toolbarUpdates, 1);
  EXPECT_THAT(scene->machine.workspace.launches,
              ElementsAre(RecordingWorkspace::Launch{"com.tessaly.BlockerMac", 0x00100200}));
  pressButton("pauseButton");
  EXPECT_EQ(text("pauseButton"), "⏸ Pause Blocking");
}

TEST_F(ExtensionPopoverTest, TheWhitelistButtonAddsAndRemovesTheSite) {
  open();
  pressButton("whitelistButton");
  EXPECT_EQ(text("whitelistButton"), "🚫 Remove from Whitelist");
  EXPECT_TRUE(scene->process.perSiteRules().whitelistRuleForDomain("www.example.com"));
  pressButton("whitelistButton");
  EXPECT_EQ(text("whitelistButton"), "✅ Add to Whitelist");
  EXPECT_FALSE(scene->process.perSiteRules().whitelistRuleForDomain("www.example.com"));
}

TEST_F(ExtensionPopoverTest, TheHttpsButtonAddsAndRemovesTheSite) {
  open();
  pressButton("makeHttpsButton");
  EXPECT_EQ(text("makeHttpsButton"), "🔓 Disable HTTPS-only");
  EXPECT_TRUE(scene->process.perSiteRules().makeHttpsRuleForDomain("www.example.com"));
  pressButton("makeHttpsButton");
  EXPECT_EQ(text("makeHttpsButton"), "🔒 Make HTTPS-only");
}

TEST_F(ExtensionPopoverTest, TheHideButtonTellsThePageAndClosesThePopover) {
  open();
  controller().setPage(scene->host.page);
  pressButton("hideButton");
  EXPECT_THAT(scene->host.page->messages, ElementsAre("showSelector"));
  EXPECT_FALSE(popover->isOpen());
  EXPECT_EQ(controller().view().window(), nullptr);
}

TEST_F(ExtensionPopoverTest, TheIconOpensTheApplication) {
  open();
  pressButton("blockerButton");
  EXPECT_THAT(scene->machine.workspace.launches,
              ElementsAre(RecordingWorkspace::Launch{"com.tessaly.BlockerMac", 0}));
}

TEST_F(ExtensionPopoverTest, OneOfThePanelsIsShown) {
  open();
  const auto shown = [this] {
    return std::pair(widget("mainPanel").get_mapped(), widget("reportPanel").get_mapped());
  };
  EXPECT_EQ(shown(), std::pair(true, false));
  pressButton("feedbackButton");
  EXPECT_EQ(shown(), std::pair(false, true));
  press(buttonNamed(widget("reportPanel"), "Back"));
  EXPECT_EQ(shown(), std::pair(true, false));
}

// The spinner.

TEST_F(ExtensionPopoverTest, TheSpinnerTakesThePlaceOfTheIcon) {
  open();
  auto& spinner = widget<Gtk::Spinner>("spinner");
  auto& icon = widget("blockerButton");
  EXPECT_EQ(spinner.get_opacity(), 0);
  EXPECT_EQ(icon.get_opacity(), 1);
  EXPECT_FALSE(spinner.get_spinning());
  pressButton("pauseButton");
  EXPECT_TRUE(spinner.get_spinning());
  scene->loop.runUntil([&] { return spinner.get_opacity() > 0 && spinner.get_opacity() < 1; });
  EXPECT_LT(icon.get_opacity(), 1);
  scene->loop.runUntil([&] { return spinner.get_opacity() == 1; });
  scene->loop.runUntil([&] { return icon.get_opacity() == 0; });
  popover->close();
  EXPECT_FALSE(spinner.get_spinning()) << "nobody sees it";
  popover->open();
  EXPECT_EQ(spinner.get_opacity(), 0);
  EXPECT_EQ(icon.get_opacity(), 1);
}

TEST_F(ExtensionPopoverTest, TheSpinnerStandsInTheMiddleOfTheIcon) {
  open();
  Picture::of(widget("stack"));
  const auto middle = [this](const std::string& name) {
    auto& shown = widget(name);
    double x = 0;
    double y = 0;
    shown.translate_coordinates(widget("stack"), 0, 0, x, y);
    return std::pair(x + shown.get_width() / 2.0, y + shown.get_height() / 2.0);
  };
  EXPECT_EQ(middle("spinner"), middle("blockerButton"));
}

// Reports.

class PopoverReport : public ExtensionPopoverTest {
 protected:
  void SetUp() override {
    ExtensionPopoverTest::SetUp();
    open();
    pressButton("feedbackButton");
  }
  void write(const std::string& comment) {
    widget<Gtk::TextView>("reportComments").get_buffer()->set_text(comment);
  }
  std::string written() { return widget<Gtk::TextView>("reportComments").get_buffer()->get_text(); }
  void answer(bool success, const std::optional<NSError>& error = std::nullopt) {
    scene->reports.completions.at(0)(success, error);
  }
};

TEST_F(PopoverReport, ItHasWhatTheUserChoseAndWrote) {
  widget<Gtk::DropDown>("reportReasonSelector").set_selected(2);
  write("a hole\nin the page");
  pressButton("sendButton");
  ASSERT_THAT(scene->reports.reports, SizeIs(1));
  EXPECT_EQ(scene->reports.reports[0].type, ReportType::emptySpace);
  EXPECT_EQ(scene->reports.reports[0].comment, "a hole\nin the page");
  EXPECT_EQ(scene->reports.reports[0].url.absoluteString(), "https://www.example.com/news");
}

TEST_F(PopoverReport, ItCannotBeSentTwiceAtOnce) {
  EXPECT_EQ(text("reportStatus"), "Describe what happened:");
  pressButton("sendButton");
  EXPECT_FALSE(widget("sendButton").get_sensitive());
  EXPECT_EQ(text("reportStatus"), "Sending...");
}

TEST_F(PopoverReport, AFailureIsToldAndKeepsTheComment) {
  write("broken");
  pressButton("sendButton");
  answer(false, NSError{"test", 1, "The report could not be sent."});
  EXPECT_EQ(text("reportStatus"), "The report could not be sent.");
  EXPECT_TRUE(widget("sendButton").get_sensitive());
  EXPECT_EQ(written(), "broken");
  EXPECT_TRUE(popover->isOpen());
  EXPECT_TRUE(widget("reportPanel").get_mapped());
}

TEST_F(PopoverReport, ALongErrorIsWrapped) {
  pressButton("sendButton");
  Picture::of(widget("stack"));
  const int width = widget("stack").get_width();
  answer(false, NSError{"test", 1,
                        "The report could not be sent, because this version of Orvane has no "
                        "connection to its makers."});
  Picture::of(widget("stack"));
  EXPECT_EQ(widget("stack").get_width(), width);
  auto* layout = gtk_label_get_layout(widget<Gtk::Label>("reportStatus").gobj());
  EXPECT_THAT(pango_layout_get_line_count(layout), Ge(2));
  EXPECT_FALSE(pango_layout_is_ellipsized(layout));
}

TEST_F(PopoverReport, ASuccessThanksAndClosesTwoSecondsLater) {
  write("broken");
  pressButton("sendButton");
  answer(true);
  EXPECT_EQ(text("reportStatus"), "Thank you for feedback!");
  EXPECT_EQ(written(), "");
  EXPECT_FALSE(widget("sendButton").get_sensitive());
  scene->machine.time.advance(seconds(2) - std::chrono::milliseconds(1));
  EXPECT_TRUE(popover->isOpen());
  EXPECT_TRUE(widget("reportPanel").get_mapped());
  scene->machine.time.advance(std::chrono::milliseconds(1));
  EXPECT_FALSE(popover->isOpen());
  EXPECT_EQ(text("reportStatus"), "Describe what happened:");
  EXPECT_TRUE(widget("sendButton").get_sensitive());
  popover->open();
  EXPECT_TRUE(widget("mainPanel").get_mapped());
  EXPECT_FALSE(widget("reportPanel").get_mapped());
}

TEST_F(PopoverReport, ASuccessAfterThePopoverHasEndedIsNoCrash) {
  pressButton("sendButton");
  popover.reset();
  answer(true);
  scene->machine.time.advance(seconds(2));
  EXPECT_TRUE(controller().sendButton.isEnabled());
}

// Mail.

TEST_F(ExtensionPopoverTest, MailIsWrittenAfterTheAlert) {
  open();
  press(buttonNamed(widget("mainPanel"), "✉️ Write Us an E-mail"));
  ASSERT_THAT(scene->host.alerts.alerts, SizeIs(1));
  EXPECT_EQ(scene->host.alerts.alerts[0].messageText, "Feedback is Welcome");
  EXPECT_EQ(scene->host.alerts.alerts[0].icon, "friends");
  EXPECT_FALSE(popover->isOpen()) << "it would lie over the alert";
  EXPECT_THAT(urlsOpened(), IsEmpty());
  EXPECT_TRUE(scene->host.alerts.dismissOne());
  ASSERT_THAT(urlsOpened(), SizeIs(1));
  EXPECT_THAT(urlsOpened()[0],
              AllOf(HasSubstr("mailto:"), HasSubstr("Feedback%20on%20www.example.com")));
}

// How it looks.

class PopoverAppearance : public ExtensionPopoverTest {
 protected:
  static constexpr Pixel background{38, 39, 47};
  static constexpr Pixel slot{55, 56, 67};

  void TearDown() override {
    Gtk::Settings::get_default()->property_gtk_application_prefer_dark_theme() = false;
    ExtensionPopoverTest::TearDown();
  }
  Gtk::Widget& content() { return *widget("stack").get_parent(); }
};

TEST_F(PopoverAppearance, ItIsDarkOnADarkAndOnALightDesktop) {
  for (const bool isDark : {false, true}) {
    Gtk::Settings::get_default()->property_gtk_application_prefer_dark_theme() = isDark;
    open();
    const auto picture = Picture::of(content());
    EXPECT_EQ(picture.at(8, 8), background);
    EXPECT_EQ(picture.at(picture.width() - 8, picture.height() - 8), background);
    ExtensionPopoverTest::TearDown();
  }
}

TEST_F(PopoverAppearance, ItsStyleEndsWithIt) {
  open();
  popover.reset();
  Gtk::Label label("x");
  label.add_css_class("orvane");
  Gtk::Button button;
  Gtk::Box box;
  box.add_css_class("orvane");
  box.append(button);
  scene->window.set_child(box);
  EXPECT_THAT(Picture::of(button).at(20, 15).distance(slot), Ge(50));
  scene->window.unset_child();
}

TEST_F(PopoverAppearance, TheCommentHasALightGreyBorderWithRoundCorners) {
  open();
  pressButton("feedbackButton");
  widget("sendButton").grab_focus();
  const auto picture = Picture::of(widget("commentScrollView"));
  constexpr Pixel lightGrey{170, 170, 170};
  const int right = picture.width() - 1;
  const int bottom = picture.height() - 1;
  const int middle = picture.height() / 2;
  EXPECT_EQ(picture.at(0, middle), lightGrey);
  EXPECT_EQ(picture.at(right, middle), lightGrey);
  EXPECT_EQ(picture.at(100, 0), lightGrey);
  EXPECT_EQ(picture.at(100, bottom), lightGrey);
  EXPECT_EQ(picture.at(1, middle), slot) << "it is one point wide";
  EXPECT_EQ(picture.at(100, 1), slot);
  for (const auto& [x, y] :
       {std::pair(0, 0), std::pair(right, 0), std::pair(0, bottom), std::pair(right, bottom)}) {
    EXPECT_EQ(picture.at(x, y), (Pixel{0, 0, 0, 0})) << x << ", " << y;
  }
  EXPECT_EQ(picture.at(7, 0), lightGrey);
  EXPECT_EQ(picture.at(0, 7), lightGrey);
  EXPECT_THAT(picture.at(3, 0).distance(lightGrey), Ge(10)) << "a smaller radius would end here";
}

TEST_F(PopoverAppearance, TheScrollerStandsBesideALongComment) {
  open();
  pressButton("feedbackButton");
  std::string comment;
  for (int line = 0; line < 60; ++line) comment += "It is broken.\n";
  controller().reportComments.setString(comment);
  scene->loop.runUntil([this] { return controller().commentScroller.knobProportion() < 0.5; });
  const auto picture = Picture::of(widget("commentScroller"));
  ASSERT_EQ(picture.width(), 10);
  EXPECT_EQ(picture.at(1, 10), slot);
  EXPECT_EQ(picture.at(2, 10), (Pixel{143, 144, 154}));
  EXPECT_EQ(picture.at(7, 10), (Pixel{143, 144, 154}));
  EXPECT_EQ(picture.at(8, 10), slot);
  EXPECT_GE(widget("commentScroller").get_allocation().get_x(),
            widget("commentClipView").get_allocation().get_width());
}

TEST_F(PopoverAppearance, TheIconIsShown) {
  open();
  const auto picture = Picture::of(widget("productImage"));
  EXPECT_EQ(picture.at(picture.width() / 2, picture.height() / 2), (Pixel{255, 255, 255}));
  EXPECT_THAT(picture.at(picture.width() / 2, 6).distance(background), Ge(80));
}

}  // namespace
}  // namespace orvane::test
