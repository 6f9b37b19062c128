#include "xml/document.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

class document_test : public testing::Test {
 protected:
  std::unique_ptr<xml::document> opened(const std::string& characters) {
    write_file(directory_ / "x", characters);
    return std::make_unique<xml::document>((directory_ / "x").c_str());
  }

 private:
  scratch_directory directory_;
};

/// The tree as text: name, "=" and text if any, children in parentheses.
std::string shape_of(const xml::element* e) {
  if (e == nullptr) return "";
  std::string shape = e->name();
  if (*e->text() != '\0') shape += std::string("=") + e->text();
  if (e->first_child() == nullptr) return shape;
  shape += "(";
  for (const xml::element* child = e->first_child(); child != nullptr; child = child->next_sibling()) {
    shape.append(child == e->first_child() ? "" : " ").append(shape_of(child));
  }
  return shape + ")";
}

TEST_F(document_test, keeps_what_it_understood_before_a_damaged_place) {
  struct {
    const char* characters;
    bool understood;
    const char* shape;
  } const cases[] = {
      {"<?xml version=\"1.0\"?><!-- c --><a></a><!-- c -->\n", true, "a"},
      {"<?xml version?><a></a>", false, ""},
      {"<!DOCTYPE a><a></a>", true, ""},
      {"<a> <b> \xc3\xa9t </b><!-- c --><c d=\"e\" /><data> x<y>z</y></data></a>", true,
       "a(b=t  c data= x<y>z</y>)"},
      {"<a><text></text><b> </b></a>", true, "a(text b)"},
      {"<a><b><c>1</c><d>2</d></b><e>3</e></a>", true, "a(b(c=1 d=2) e=3)"},
      {"<a></a><b></b>", false, "a"},
      {"<a>x<b></b>y</a>", true, "a=x<b></b>y"},
      {"<a><b></b>y</a>", false, "a(b)"},
      {"<a><b>x</c></a>", false, "a(b=x)"},
      {"<a><b></b x></a>", false, "a(b)"},
      {"<a b=c></a>", false, "a"},
      {"<a><b c=\"d", false, "a(b)"},
      {"<a><b>cut", false, "a(b=cut)"},
      {"<a><", false, "a"},
  };
  for (const auto& c : cases) {
    const auto document = opened(c.characters);
    EXPECT_EQ(document->parse(), c.understood) << c.characters;
    EXPECT_EQ(shape_of(document->root()), c.shape) << c.characters;
  }
}

TEST_F(document_test, finds_elements_and_attributes_in_document_order) {
  const auto document = opened(
      "<?xml version=\"1.0\"?><r id=\"0\"><a id=\"1\"><b id=\"2\" "
      "x=\"y\">t</b></a>\xa0<b\xa0id=\"3\"\xa0id=\"4\"></b>"
      "<c></c></r>");
  ASSERT_TRUE(document->parse());
  std::string ids;
  for (const xml::element* e : document->elems("b")) ids += std::string(e->get_attribute("id")) + ",";
  EXPECT_EQ(ids, "2,4,");
  EXPECT_STREQ(document->elems("b").front()->text(), "t");
  EXPECT_STREQ(document->elems("c").front()->get_attribute("id"), "");
  EXPECT_TRUE(document->elems("r").empty());
  EXPECT_TRUE(opened("")->elems("b").empty());
}

TEST_F(document_test, a_missing_file_is_an_empty_document) {
  testing::internal::CaptureStdout();
  xml::document document("no/such.file");
  EXPECT_TRUE(document.parse());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERROR: Could not open no/such.file\n");
  EXPECT_EQ(document.root(), nullptr);
}

TEST_F(document_test, reads_a_million_levels) {
  constexpr std::size_t levels = 1000000;
  std::string characters;
  for (std::size_t i = 0; i < levels; ++i) characters += "<a>";
  const auto document = opened(characters + "<b id=\"x\"></b>");
  EXPECT_FALSE(document->parse());
  EXPECT_EQ(document->elems("a").size(), levels - 1);
  EXPECT_STREQ(document->elems("b").front()->get_attribute("id"), "x");
}

TEST_F(document_test, cuts_huge_names_values_and_texts) {
  const std::string huge(16 << 20, 'x');
  const auto document = opened("<" + huge + " n=\"" + huge + "\"><text>" + huge + "</text></" + huge + ">");
  testing::internal::CaptureStdout();
  EXPECT_TRUE(document->parse());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "WARNING: buffer too small for data, truncating\n");
  EXPECT_EQ(document->root()->name(), std::string(1023, 'x'));
  EXPECT_EQ(document->root()->get_attribute("n"), std::string(1023, 'x'));
  EXPECT_EQ(document->root()->first_child()->text(), std::string(99998, 'x'));
  EXPECT_FALSE(opened(std::string(16 << 20, '<'))->parse());
}

}  // namespace
