#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "host/DllCommon.h"
#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

class Xml : public HostTest {
 protected:
  bool Write(const COrvXmlNode& root) { return COrvXmlWrite().writeXML(folder_ / "report.xml", root); }
  bool WriteValue(const std::string& value) {
    COrvXmlNode root("data");
    root.addAttribute("value", value);
    return Write(root);
  }
};

TEST_F(Xml, ElementsAndAttributesStandInTheOrderInWhichTheyWereAdded) {
  COrvXmlNode item("attr");
  item.addAttribute("name", "Product Name");
  item.addAttribute("value", "KV6000");
  COrvXmlNode section("general-inf");
  section.addChildNode(item);
  COrvXmlNode root("data");
  root.addChildNode(section);
  root.addChildNode(COrvXmlNode("version-inf"));
  ASSERT_TRUE(Write(root));
  EXPECT_EQ(folder_.Read("report.xml"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<data>\n"
            "  <general-inf>\n"
            "    <attr name=\"Product Name\" value=\"KV6000\" />\n"
            "  </general-inf>\n"
            "  <version-inf />\n"
            "</data>\n");
}

TEST_F(Xml, AnAddedChildIsACopy) {
  COrvXmlNode child("child");
  COrvXmlNode root("data");
  root.addChildNode(child);
  child.addAttribute("late", "1");
  const COrvXmlNode copy(root);
  root.addAttribute("late", "1");
  ASSERT_TRUE(Write(copy));
  EXPECT_EQ(folder_.Read("report.xml"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<data>\n  <child />\n</data>\n");
}

TEST_F(Xml, ValuesAreEscaped) {
  ASSERT_TRUE(WriteValue("<a & \"b\">\n\t\xc3\xa4"));
  EXPECT_EQ(
      folder_.Read("report.xml"),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<data value=\"&lt;a &amp; &quot;b&quot;>&#10;&#09;\xc3\xa4\" />\n");
}

TEST_F(Xml, AValueThatXmlCannotCarryIsRefusedAndTheOldFileKept) {
  ASSERT_TRUE(WriteValue("old"));
  const std::string old = folder_.Read("report.xml");
  for (const char* value : {"\x01", "\xff\xfe", "\x1b[0m"}) {
    EXPECT_FALSE(WriteValue(value)) << value;
  }
  EXPECT_EQ(folder_.Read("report.xml"), old);
  EXPECT_EQ(TakeLines().front(),
            "2 Not written, a name or a value cannot stand in XML: [" + (folder_ / "report.xml") + "]");
}

TEST_F(Xml, BadOrDoubledNamesAreRefused) {
  EXPECT_FALSE(Write(COrvXmlNode("a b")));
  COrvXmlNode doubled("data");
  doubled.addAttribute("name", "1");
  doubled.addAttribute("name", "2");
  EXPECT_FALSE(Write(doubled));
  COrvXmlNode parent("data");
  parent.addChildNode(COrvXmlNode(""));
  EXPECT_FALSE(Write(parent));
  EXPECT_FALSE(folder_.Has("report.xml"));
}

TEST_F(Xml, FailsWithTheReasonWithoutItsFolder) {
  EXPECT_FALSE(COrvXmlWrite().writeXML(folder_ / "missing/report.xml", COrvXmlNode("data")));
  EXPECT_EQ(TakeLines(),
            Lines{"2 cannot create a file beside " + (folder_ / "missing/report.xml") + ": No such file or directory"});
}

TEST_F(Xml, NothingButTheFileIsLeft) {
  ASSERT_TRUE(WriteValue("one"));
  ASSERT_TRUE(WriteValue("two"));
  std::filesystem::create_directory(folder_ / "taken");
  EXPECT_FALSE(COrvXmlWrite().writeXML(folder_ / "taken", COrvXmlNode("data")));
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
    names.push_back(entry.path().filename());
  }
  std::ranges::sort(names);
  EXPECT_EQ(names, (Lines{"report.xml", "taken"}));
}

TEST_F(Xml, TheFileCanBeReadByAll) {
  ASSERT_TRUE(WriteValue("one"));
  struct stat status {};
  ASSERT_EQ(stat((folder_ / "report.xml").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

}  // namespace
}  // namespace refhost
