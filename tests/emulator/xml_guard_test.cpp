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
                             "<a b='1'c='2'/>",
                             "<1a/>",
                             "<a -b='1'/>",
                             "<a>&</a>",
                             "<a>b & c</a>",
                             "<a>&copy;</a>",
                             "<a>&#;</a>",
                             "<a>&#x;</a>",
                             "<a>&#12a;</a>",
                             "<a>&#99999999;</a>",
                             "<a b='&'/>"}) {
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
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><a x=\"1\"><b>&lt;c&gt; &amp; d</b><e></e></a>");
}

TEST(Xml, WhatCannotBeWrittenAgainIsNotRead) {
    for (const char* text : {"<a>&#0;</a>", "<a>&#1;</a>", "<a b='&#8;'/>", "<a>&#xD800;</a>", "<a>\xff</a>",
                             "<a>\xc3</a>", "<a>\xc0\x80</a>", "<a>\xed\xa0\x80</a>", "<a>\xef\xbf\xbf</a>",
                             "<a>\xe0\x80\x80</a>", "<a>\xf0\x80\x80\x80</a>", "<a>\xf4\x90\x80\x80</a>",
                             "<a b='1' b='2'/>", "<?xml version='1.0' encoding='UTF-16'?><a/>"}) {
        EXPECT_EQ(ParseXml(text), nullptr) << text;
    }
    for (const char* text : {"<a>\xc3\xa7\xe2\x82\xac\xf0\x9f\x98\x80</a>", "<a>&#x20AC;&#233;&apos;</a>",
                             "<?xml version='1.0' encoding='iso-8859-1'?><a>\xe7</a>"}) {
        EXPECT_NE(ParseXml(text), nullptr) << text;
    }
}

TEST(Xml, AttributesWithoutEndAreNotRead) {
    std::string text = "<a";
    for (int i = 0; i < 65; ++i) {
        text += " b" + std::to_string(i) + "='1'";
    }
    EXPECT_EQ(ParseXml(text + "/>"), nullptr);
}

TEST(Xml, IsWrittenInOneCanonicalWay) {
    const auto xml = ParseXml(
        "<?xml version='1.0' encoding='ISO-8859-1' standalone='no'?><!-- x --><r b='&quot;&#10;&gt;' a=\"'\" xmlns='u'>"
        "<e/><![CDATA[<&>]]>t&#13;\"'<?pi x?></r>");
    ASSERT_NE(xml, nullptr);
    const std::string text = PrintXml(*xml);
    EXPECT_EQ(text,
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
              "<r xmlns=\"u\" a=\"'\" b=\"&quot;&#xA;>\"><e></e>&lt;&amp;&gt;t&#xD;\"'</r>");
    const auto again = ParseXml(text);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(PrintXml(*again), text);
}

}  // namespace emulator
