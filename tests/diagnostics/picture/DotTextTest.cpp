#include <gmock/gmock.h>

#include "diagnostics/picture/DotText.h"

namespace Tessaril::Diagnostics {
namespace {

TEST(DotEscapes, OfMarkupAreCharacterReferences) {
  EXPECT_EQ(escapedForHtml(R"(a < b & "c" > d \ e ])"),
            "a &lt; b &amp; &quot;c&quot; &gt; d &#92;&#92; e &#93;");
}

TEST(DotEscapes, OfMarkupKeepWhatLooksLikeAReference) {
  EXPECT_EQ(escapedForHtml("&lt;"), "&amp;lt;");
}

// Graphviz resolves character references in quoted texts too, and replaces \N, \G and others.
TEST(DotEscapes, OfQuotedTextsAreBackslashesAndReferences) {
  EXPECT_EQ(escapedForQuotes(R"(a "b" \N & <c>)"), R"(a \"b\" \\N &amp; <c>)");
}

TEST(DotEscapes, OfQuotedTextsKeepLineBreaks) { EXPECT_EQ(escapedForQuotes("a\nb"), R"(a\nb)"); }

TEST(DotAttributes, AreWrittenInTheOrderInWhichTheyCame) {
  DotAttributes attributes;
  attributes.set("shape", "plain").text("tooltip", "a \"b\"").html("label", "<B>c</B>");

  EXPECT_EQ(attributes.inBrackets(), R"([shape="plain", tooltip="a \"b\"", label=<<B>c</B>>])");
  EXPECT_EQ(attributes.asStatements(), R"(shape="plain"; tooltip="a \"b\""; label=<<B>c</B>>;)");
}

TEST(DotMarkup, MakesTablesOfRowsOfCells) {
  EXPECT_EQ(rowMarkup(cellMarkup("a") + cellMarkup("b", "COLSPAN=\"2\"")),
            "<TR><TD>a</TD><TD COLSPAN=\"2\">b</TD></TR>");
  EXPECT_EQ(tableMarkup("<TR></TR>", "4"),
            "<TABLE BORDER=\"0\" CELLBORDER=\"0\" CELLPADDING=\"0\" CELLSPACING=\"4\">"
            "<TR></TR></TABLE>");
  EXPECT_EQ(fontMarkup("a", "9", "#123456"), "<FONT POINT-SIZE=\"9\" COLOR=\"#123456\">a</FONT>");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
