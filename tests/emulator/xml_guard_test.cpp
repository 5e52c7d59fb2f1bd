#include "xml_guard.h"

#include <gtest/gtest.h>

#include "xml.h"

namespace emulator {

namespace {

std::string Nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<a>";
    for (int i = 0; i < depth; ++i)
        text += "</a>";
    return text;
}

}  // namespace

TEST(XmlGuard, LetsWellFormedTextsThrough) {
    for (const char* text :
         {"<a/>", " <a></a>\n", "<?xml version=\"1.0\"?><a b='>' c = \"x\"><!-- <b> --><c/></a>",
          "<a><![CDATA[</a><b>]]>t</a>", "<!-- x --><a:b.c-d _e='1'/>"}) {
        EXPECT_TRUE(IsSafeXml(text)) << text;
        EXPECT_NE(ParseXml(text), nullptr) << text;
    }
}

TEST(XmlGuard, StopsWhatIsNot) {
    for (const char* text : {"",
                             "text",
                             "<a>",
                             "</a>",
                             "<a/><b/>",
                             "<a/>text",
                             "<!DOCTYPE a><a/>",
                             "<a b=1/>",
                             "<a b='<'/>",
                             "<a b/>",
                             "<a b='x/>",
                             "< a/>",
                             "<a",
                             "<a/",
                             "<a><!-- ",
                             "<a><![CDATA[x</a>",
                             "<a\"><b>\"</b></a\">",
                             "<?xml",
                             "<a>\x01</a>",
                             "<![CDATA[x]]><a/>",
                             "<a b='1'c='2'/>"}) {
        EXPECT_FALSE(IsSafeXml(text)) << text;
        EXPECT_EQ(ParseXml(text), nullptr) << text;
    }
    EXPECT_FALSE(IsSafeXml(std::string_view("<a>\0</a>", 8)));
}

TEST(XmlGuard, NestingHasALimit) {
    EXPECT_TRUE(IsSafeXml(Nested(DEEPEST_ELEMENT)));
    EXPECT_FALSE(IsSafeXml(Nested(DEEPEST_ELEMENT + 1)));
    EXPECT_EQ(ParseXml(Nested(500000)), nullptr);
}

TEST(XmlGuard, DepthCannotBeHidden) {
    std::string closing;
    for (int i = 0; i < 100; ++i)
        closing += "</a>";
    // Closings that the parser does not see must not count.
    EXPECT_FALSE(IsSafeXml("<a><!--" + closing + "-->" + Nested(200) + "</a>"));
    EXPECT_FALSE(IsSafeXml("<a><![CDATA[-->" + closing + "]]>" + Nested(200) + "</a>"));
    EXPECT_FALSE(IsSafeXml("<a b='<!--'><![CDATA[-->" + closing + "]]>" + Nested(200) + "</a>"));
}

TEST(Xml, ClosingNamesMustMatch) {
    EXPECT_EQ(ParseXml("<a><b></a></b>"), nullptr);
}

TEST(Xml, PrintsWhatItRead) {
    const auto xml = ParseXml("<a x=\"1\"><b>&lt;c&gt; &amp; d</b><e/></a>");
    ASSERT_NE(xml, nullptr);
    EXPECT_EQ(PrintXml(*xml),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><a x=\"1\"><b>&lt;c&gt; &amp; d</b><e/></a>");
}

}  // namespace emulator
