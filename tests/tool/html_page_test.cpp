#include "html_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tool {
namespace {

using testing::HasSubstr;
using testing::Not;

Json Timeline(const std::string& line) {
    return {{"dia", "20261120"}, {"trocas", {{{"comando", "ConsultarSAT"}, {"linhas", {line}}}}}};
}

TEST(HtmlPageTest, PageNeedsNothingFromElsewhere) {
    const std::string page = HtmlPage(Timeline("x"));
    EXPECT_THAT(page, HasSubstr("<!DOCTYPE html>"));
    EXPECT_THAT(page, HasSubstr("20261120"));
    EXPECT_THAT(page, Not(HasSubstr("src=")));
    EXPECT_THAT(page, Not(HasSubstr("href=")));
    EXPECT_THAT(page, Not(HasSubstr("url(")));
}

TEST(HtmlPageTest, DataCannotBecomeMarkup) {
    const std::string page = HtmlPage(Timeline("</script><script>alert(1)</script><!--"));
    EXPECT_THAT(page, Not(HasSubstr("alert(1)</script>")));
    EXPECT_THAT(page, Not(HasSubstr("<!--")));
    EXPECT_THAT(page, HasSubstr("\\u003c/script>"));
}

TEST(HtmlPageTest, LinesThatAreNoUtf8AreKeptReadable) {
    EXPECT_THAT(HtmlPage(Timeline("caf\xE9")), HasSubstr("caf\\ufffd"));
}

}  // namespace
}  // namespace tool
