#include <fstream>

#include <gmock/gmock.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>

#include "Linux/GTK/InterfaceFile.h"
#include "Tests/Linux/GTK/GTKTest.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr const char* goodFile = R"(<interface>
  <object class="GtkBox" id="box">
    <child>
      <object class="GtkButton" id="button">
        <property name="label">Pause</property>
        <signal name="clicked" handler="pause:"/>
      </object>
    </child>
  </object>
  <object class="GtkAdjustment" id="adjustment"/>
</interface>)";

class InterfaceFileTest : public GTKTest {
 protected:
  Expected<InterfaceFile> load(const std::string& content) {
    std::ofstream(file) << content;
    return InterfaceFile::load(file, {{"pause:", [this] { ++pauses; }}});
  }
  static std::string errorOf(const Expected<InterfaceFile>& loaded) {
    return loaded ? "no error" : loaded.error().localizedDescription;
  }

  TemporaryDirectory folder;
  std::filesystem::path file = folder / "Popover.ui";
  int pauses = 0;
};

TEST_F(InterfaceFileTest, ItsWidgetsAreFoundByTheirNames) {
  const auto loaded = load(goodFile);
  ASSERT_TRUE(loaded) << errorOf(loaded);
  const auto button = loaded->widget<Gtk::Button>("button");
  ASSERT_TRUE(button);
  EXPECT_EQ((*button)->get_label(), "Pause");
  EXPECT_TRUE(loaded->widget<Gtk::Widget>("box"));
}

TEST_F(InterfaceFileTest, AControlCallsTheActionThatItNames) {
  const auto loaded = load(goodFile);
  ASSERT_TRUE(loaded) << errorOf(loaded);
  press(**loaded->widget<Gtk::Button>("button"));
  EXPECT_EQ(pauses, 1);
  press(**loaded->widget<Gtk::Button>("button"));
  EXPECT_EQ(pauses, 2);
}

TEST_F(InterfaceFileTest, AWidgetThatIsNotThereIsAnError) {
  const auto loaded = load(goodFile);
  ASSERT_TRUE(loaded) << errorOf(loaded);
  const auto missing = loaded->widget<Gtk::Button>("spinner");
  ASSERT_FALSE(missing);
  EXPECT_EQ(missing.error().localizedDescription,
            "The interface file '" + file.string() + "': there is no widget named \"spinner\"");
}

TEST_F(InterfaceFileTest, AWidgetOfAnotherKindIsAnError) {
  const auto loaded = load(goodFile);
  ASSERT_TRUE(loaded) << errorOf(loaded);
  const auto label = loaded->widget<Gtk::Label>("button");
  ASSERT_FALSE(label);
  EXPECT_THAT(label.error().localizedDescription, HasSubstr("\"button\" must not be a GtkButton"));
  const auto adjustment = loaded->widget<Gtk::Widget>("adjustment");
  ASSERT_FALSE(adjustment);
  EXPECT_THAT(adjustment.error().localizedDescription, HasSubstr("\"adjustment\" is no widget"));
}

TEST_F(InterfaceFileTest, AnUnknownActionIsAnError) {
  std::string content = goodFile;
  content.replace(content.find("pause:"), 6, "explode:");
  EXPECT_THAT(errorOf(load(content)),
              AllOf(HasSubstr(file.string()), HasSubstr("there is no action named \"explode:\"")));
}

TEST_F(InterfaceFileTest, AMissingFileIsAnError) {
  EXPECT_THAT(errorOf(InterfaceFile::load(folder / "none.ui", {})), HasSubstr("none.ui"));
}

TEST_F(InterfaceFileTest, AFileThatIsNoInterfaceIsAnError) {
  EXPECT_THAT(errorOf(load("pause:")), HasSubstr(file.string()));
  EXPECT_THAT(errorOf(load("<interface><object>")), HasSubstr(file.string()));
  EXPECT_THAT(errorOf(load("<interface><object class=\"GtkNothing\"/></interface>")),
              HasSubstr("GtkNothing"));
}

}  // namespace
}  // namespace orvane::test
