/*
 * Which XML texts are read, what becomes of them, and how they are written again.
 */
#include "xml.h"

#include <gmock/gmock.h>

namespace emulator {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr char UTF8_DECLARATION[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

// What is wrong with a text; empty when it is read.
std::string ProblemOfText(std::string_view text) {
    std::string problem;
    const auto xml = ParseXml(text, &problem);
    EXPECT_EQ(xml == nullptr, !problem.empty()) << text;
    return problem;
}

// A text as it is written again, without the declaration; or what is wrong with it.
std::string Again(std::string_view text) {
    std::string problem;
    const auto xml = ParseXml(text, &problem);
    if (xml == nullptr) return problem;
    const std::string printed = PrintXml(*xml);
    EXPECT_THAT(printed, StartsWith(UTF8_DECLARATION));
    return printed.substr(std::string_view(UTF8_DECLARATION).size());
}

std::string Nested(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<a>";
    for (int i = 0; i < depth; ++i)
        text += "</a>";
    return text;
}

}  // namespace

TEST(Xml, WellFormedTextsAreRead) {
    for (const char* text :
         {"<a/>", " <a></a>\n", "<?xml version=\"1.0\"?><a b='>' c = \"x\"><!-- <b> --><c/></a>",
          "<a><![CDATA[</a><b>]]>t</a>", "<!-- x --><a:b.c-d xmlns:a='urn:a' _e='1'/>",
          "<a>\xc3\xa7\xe2\x82\xac\xf0\x9f\x98\x80</a>", "<a>&#x20AC;&#233;&apos;</a>",
          "<?xml version='1.0' encoding='iso-8859-1'?><a>\xe7</a>", "\xef\xbb\xbf<a>\xc3\xa9</a>",
          "\xef\xbb\xbf<?xml version='1.0' encoding='utf-8'?><a/>",
          "<?xml version='1.0' encoding='US-ASCII'?><a>&#233;</a>", "<\xc3\xa9/>"}) {
        EXPECT_EQ(ProblemOfText(text), "") << text;
    }
}

TEST(Xml, WhatIsNotWellFormedIsRefused) {
    for (const char* text : {"",
                             "text",
                             "<a>",
                             "</a>",
                             "<a/><b/>",
                             "<a/>text",
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
                             "<a b='&'/>",
                             "<a><b></a></b>",
                             "<a>&#0;</a>",
                             "<a>&#1;</a>",
                             "<a b='&#8;'/>",
                             "<a>&#xD800;</a>",
                             "<a>\xff</a>",
                             "<a>\xc3</a>",
                             "<a>\xc0\x80</a>",
                             "<a>\xed\xa0\x80</a>",
                             "<a>\xef\xbf\xbf</a>",
                             "<a>\xe0\x80\x80</a>",
                             "<a>\xf0\x80\x80\x80</a>",
                             "<a>\xf4\x90\x80\x80</a>",
                             "<a b='1' b='2'/>",
                             "<a>]]></a>",
                             "<a><!-- x -- y --></a>",
                             "<p:a/>",
                             "<a p:b='1'/>",
                             "<a xmlns:p='urn:x' xmlns:q='urn:x' p:b='1' q:b='2'/>",
                             "<?xml version='1.0'?><?xml version='1.0'?><a/>",
                             "<?xml version='1.0' encoding='UTF-8' encoding='UTF-8'?><a/>",
                             "<?xml?><a/>",
                             "<?xml encoding='UTF-8'?><a/>",
                             "<?xml version='1.0' foo='1'?><a/>",
                             "<?xml version='1.0' standalone='perhaps'?><a/>",
                             " <?xml version='1.0'?><a/>",
                             "<?xml version='1.0' encoding='US-ASCII'?><a>\xe9</a>"}) {
        EXPECT_THAT(ProblemOfText(text), StartsWith("XML malformado")) << text;
    }
    EXPECT_EQ(ProblemOfText(std::string_view("<a>\0</a>", 8)), "XML malformado");
    EXPECT_EQ(ProblemOfText(std::string_view("<a/>\0<b/>", 9)), "XML malformado");
}

TEST(Xml, TheReasonTellsTheLineAndWhatIsWrongThere) {
    EXPECT_THAT(ProblemOfText("<a>\n<b>\n</c></a>"),
                StartsWith("XML malformado: linha 3: Opening and ending tag"));
    EXPECT_THAT(ProblemOfText("<a>\n&copy;</a>"),
                StartsWith("XML malformado: linha 2: Entity 'copy' not defined"));
}

TEST(Xml, ADocumentTypeIsRefusedBeforeItIsRead) {
    constexpr char reason[] = "XML malformado: linha 1: DOCTYPE nao e aceito";
    EXPECT_EQ(ProblemOfText("<!DOCTYPE a><a/>"), reason);
    EXPECT_EQ(ProblemOfText("<!DOCTYPE a SYSTEM \"file:///dev/zero\"><a/>"), reason);
    EXPECT_EQ(ProblemOfText("<!DOCTYPE a [<!ENTITY x \"y\"><!ENTITY z \"&x;&x;\">]><a>&z;</a>"), reason);
    EXPECT_EQ(ProblemOfText("<!DOCTYPE a [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><a>&x;</a>"), reason);
}

TEST(Xml, WhatWouldTakeAnEveningIsRefused) {
    EXPECT_EQ(ProblemOfText(Nested(32)), "");
    EXPECT_EQ(ProblemOfText(Nested(33)), "XML malformado: niveis demais");
    EXPECT_THAT(ProblemOfText(Nested(500000)), StartsWith("XML malformado: linha 1: "));
    const auto with_attributes = [](int count, const std::string& name, const std::string& value) {
        std::string text = "<a";
        for (int i = 0; i < count; ++i) {
            text += " " + name + std::to_string(i) + "='" + value + "'";
        }
        return ProblemOfText(text + "/>");
    };
    EXPECT_EQ(with_attributes(500, "b", "1"), "");
    EXPECT_EQ(with_attributes(600, "b", "1"), "XML malformado: atributos demais");
    EXPECT_EQ(with_attributes(8, "xmlns:b", "urn:b"), "");
    EXPECT_EQ(with_attributes(9, "xmlns:b", "urn:b"), "XML malformado: xmlns demais");
}

TEST(Xml, OnlyEncodingsThatBothSystemsHave) {
    EXPECT_THAT(ProblemOfText("<?xml version='1.0' encoding='Shift_JIS'?><a/>"), HasSubstr("Shift_JIS"));
    EXPECT_THAT(ProblemOfText("<?xml version='1.0' encoding='UTF-7'?><a/>"), StartsWith("XML malformado"));
    EXPECT_THAT(ProblemOfText("<?xml version='1.0' encoding='UTF-16'?><a/>"), StartsWith("XML malformado"));
    EXPECT_THAT(ProblemOfText("<?xml version='1.0' encoding='none'?><a/>"), StartsWith("XML malformado"));
}

TEST(Xml, IsUtf8OnceItIsRead) {
    EXPECT_EQ(Again("<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xe3'>\xc9&#201;&#8364;</a>"),
              "<a b=\"\u00e3\">\u00c9\u00c9\u20ac</a>");
    EXPECT_EQ(Again("<?xml version='1.0' encoding='windows-1252'?><a>\x80\x8a\x9f\xc9&#201;</a>"),
              "<a>\u20ac\u0160\u0178\u00c9\u00c9</a>");
    EXPECT_THAT(Again("<?xml version='1.0' encoding='windows-1252'?><a>\x81</a>"),
                StartsWith("XML malformado"));
    // Longer than any block in which the parser converts.
    std::string text(50000, '\x80');
    std::string euros;
    for (size_t i = 0; i < text.size(); ++i) {
        euros += "\u20ac";
    }
    EXPECT_EQ(Again("<?xml version='1.0' encoding='Windows-1252'?><a>" + text + "</a>"),
              "<a>" + euros + "</a>");
}

TEST(Xml, AValueThatIsCutUpIsWhole) {
    std::string problem;
    const auto xml =
        ParseXml("<a><b>1<!-- x -->2<?pi?>.<![CDATA[00]]>0&#48;</b><c><![CDATA[<&>]]></c></a>", &problem);
    ASSERT_NE(xml, nullptr) << problem;
    EXPECT_EQ(ChildText(Root(*xml), "b"), "12.0000");
    EXPECT_EQ(ChildText(Root(*xml), "c"), "<&>");
    EXPECT_EQ(PrintXml(*xml), UTF8_DECLARATION + std::string("<a><b>12.0000</b><c>&lt;&amp;&gt;</c></a>"));
}

TEST(Xml, TextBesideElementsIsRefused) {
    EXPECT_EQ(ProblemOfText("<a>1<b/></a>"), "a: esperado texto ou elementos, encontrado ambos");
    EXPECT_EQ(ProblemOfText("<a><c><b/><![CDATA[x]]></c></a>"),
              "c: esperado texto ou elementos, encontrado ambos");
    EXPECT_EQ(Again("<a> <b> 1 </b>\r\n<c> </c>\t<d/></a>"), "<a><b> 1 </b><c> </c><d></d></a>");
}

TEST(Xml, LineEndsAndAttributesAreNormalised) {
    EXPECT_EQ(Again("<a b='1\r\n2\t3'>1\r\n2\r3\n4&#13;</a>"), "<a b=\"1 2 3\">1\n2\n3\n4&#xD;</a>");
}

TEST(Xml, IsWrittenInOneCanonicalWay) {
    const std::string once = Again(
        "<?xml version='1.0' encoding='ISO-8859-1' standalone='no'?><!-- x --><r b='&quot;&#10;&gt;' a=\"'\" "
        "xmlns='urn:u'><?pi x?><e/><f>&lt;t&#13;\"'></f></r><!-- y -->");
    EXPECT_EQ(once, "<r xmlns=\"urn:u\" a=\"'\" b=\"&quot;&#xA;>\"><e></e><f>&lt;t&#xD;\"'&gt;</f></r>");
    EXPECT_EQ(Again(once), once);
}

TEST(Xml, RelativeNamespacesHaveNoCanonicalForm) {
    EXPECT_EQ(ProblemOfText("<a xmlns='u'/>"), "XML malformado: xmlns relativo");
}

TEST(Xml, AnElementWithAPrefixHasAnotherName) {
    std::string problem;
    const auto xml = ParseXml("<a xmlns:x='urn:x'><x:b>1</x:b><b>2</b><c>3</c><b>4</b></a>", &problem);
    ASSERT_NE(xml, nullptr) << problem;
    EXPECT_EQ(NameOf(FirstElement(Root(*xml))), "x:b");
    EXPECT_EQ(ChildText(Root(*xml), "b"), "2");
    const Element* first = Child(Root(*xml), "b");
    EXPECT_EQ(NameOf(Next(first)), "c");
    ASSERT_NE(Next(first, "b"), nullptr);
    EXPECT_EQ(Next(Next(first, "b")), nullptr);
}

TEST(Xml, WhatIsAddedStandsWhereItIsTold) {
    std::string problem;
    const auto xml = ParseXml("<a xmlns='urn:a'><b/><c/></a>", &problem);
    ASSERT_NE(xml, nullptr) << problem;
    Element* root = Root(*xml);
    InsertBefore(root, Child(root, "c"), "d", "<&\u00c9");
    AppendIn(root, "e", "urn:e");
    Append(Child(root, "e"), "f", "1");
    SetAttribute(root, "g", "\"<&");
    SetAttribute(root, "g", "2&");
    RemoveChildren(root, "b");
    EXPECT_EQ(
        CanonicalText(root),
        "<a xmlns=\"urn:a\" g=\"2&amp;\"><d>&lt;&amp;\u00c9</d><c></c><e xmlns=\"urn:e\"><f>1</f></e></a>");
    EXPECT_EQ(CanonicalText(Child(root, "d")), "<d xmlns=\"urn:a\">&lt;&amp;\u00c9</d>");
}

}  // namespace emulator
