#include "reference_page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

const PageLanguage PAGE_LANGUAGES[2] = {
    {"Portuguese", "docs/pt/sat-ini.md", "docs/pt/erros.md", "docs/pt/logs.md", "docs/pt/protocolo.md", "sim",
     "não", "(não está)", "(nenhuma)", "(vazio)"},
    {"English", "docs/en/sat-ini.md", "docs/en/errors.md", "docs/en/logs.md", "docs/en/link-protocol.md",
     "yes", "no", "(not there)", "(none)", "(empty)"},
};

void PrintTo(const PageLanguage& language, std::ostream* out) {
    *out << language.name;
}

std::string LanguageName(const testing::TestParamInfo<PageLanguage>& info) {
    return info.param.name;
}

std::string ProjectFile(const std::string& path) {
    std::ifstream file(std::string(ZANTIR_TOP "/") + path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/** How many "#" a heading begins with; 0 for any other line. */
static size_t HeadingLevel(const std::string& line) {
    const size_t level = line.find_first_not_of('#');
    return level != 0 && level != std::string::npos && line[level] == ' ' ? level : 0;
}

std::string PageSection(const std::string& page, const std::string& heading) {
    std::string section;
    bool inside = false;
    bool fenced = false;
    for (const std::string& line : LinesOf(page)) {
        if (line.starts_with("```")) fenced = !fenced;
        const size_t level = fenced ? 0 : HeadingLevel(line);
        if (inside && level != 0 && level <= HeadingLevel(heading)) return section;
        if (inside) section += line + "\n";
        inside = inside || line == heading;
    }
    EXPECT_TRUE(inside) << "no heading " << heading;
    return section;
}

std::vector<std::string> PageHeadings(const std::string& page, std::string_view beginning) {
    std::vector<std::string> found;
    for (const std::string& line : LinesOf(page))
        if (line.starts_with(beginning)) found.push_back(line);
    return found;
}

static std::string Bare(const std::string& cell) {
    std::string bare = cell;
    std::erase(bare, '`');
    const size_t from = bare.find_first_not_of(' ');
    if (from == std::string::npos) return "";
    return bare.substr(from, bare.find_last_not_of(' ') - from + 1);
}

static PageRow CellsOf(const std::string& line) {
    PageRow cells;
    std::istringstream stream(line.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');)
        cells.push_back(Bare(cell));
    return cells;
}

std::vector<PageRow> PageRows(const std::string& text) {
    std::vector<PageRow> rows;
    for (const std::string& line : LinesOf(text)) {
        if (line.starts_with("|---")) {
            rows.pop_back();  // the names of the columns
        } else if (line.starts_with("|")) {
            rows.push_back(CellsOf(line));
        }
    }
    return rows;
}

std::vector<std::string> PageBlocks(const std::string& text, const std::string& language) {
    std::vector<std::string> blocks;
    std::string block;
    bool fenced = false;
    bool wanted = false;
    for (const std::string& line : LinesOf(text)) {
        if (line.starts_with("```")) {
            if (fenced && wanted) blocks.push_back(block);
            fenced = !fenced;
            wanted = fenced && line.substr(3) == language;
            block.clear();
        } else if (fenced) {
            block += line + "\n";
        }
    }
    return blocks;
}
