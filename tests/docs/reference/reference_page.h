/*
 * A reference page of the documents, cut into its sections, tables and blocks.
 */
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/** A row's cells as they are written, without blanks around them and without backticks. */
using PageRow = std::vector<std::string>;

/** A language of the documents, with the words of the pages that the tests look for. */
struct PageLanguage {
    const char* name;
    const char* sat_ini;
    const char* errors;
    const char* logs;
    const char* protocol;
    const char* yes;
    const char* no;
    const char* absent;  ///< a key that the default file does not have
    const char* none;    ///< a setting that has no default
    const char* empty;   ///< a key without value
};

extern const PageLanguage PAGE_LANGUAGES[2];

/** For the names of parametrised tests, and for what a failed one shows. */
void PrintTo(const PageLanguage& language, std::ostream* out);
std::string LanguageName(const testing::TestParamInfo<PageLanguage>& info);

/** A file of the project, by its path from the top. Fails the test when there is none. */
std::string ProjectFile(const std::string& path);

/** What stands below a heading such as "## [LOG]", up to the next heading of its level or a higher one. */
std::string PageSection(const std::string& page, const std::string& heading);

/** The headings of a page that begin so, in order. */
std::vector<std::string> PageHeadings(const std::string& page, std::string_view beginning);

/** The rows of all tables of a text, without those of headings and rules. */
std::vector<PageRow> PageRows(const std::string& text);

/** The fenced blocks of one language. */
std::vector<std::string> PageBlocks(const std::string& text, const std::string& language);

std::vector<std::string> LinesOf(const std::string& text);
