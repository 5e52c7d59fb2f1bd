#include "library_errors.h"

#include <gtest/gtest.h>

#include <set>

namespace tool {
namespace {

std::string ErrorText(int code, const std::string& message, int line) {
    char front[64];
    std::snprintf(front, sizeof front, "SAT Erro[%06d]Win ", code);
    char end[64];
    std::snprintf(end, sizeof end, " L[%04d] F[Communicate] ", line);
    return front + message + end;
}

TEST(LibraryErrorsTest, TextIsTakenApart) {
    const auto error =
        ExplainLibraryError(ErrorText(-1007, "Falha ao enviar Comando ao SAT[\\\\?\\COM7]", 2114));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, -1007);
    EXPECT_EQ(error->line, 2114);
    EXPECT_EQ(error->port, "\\\\?\\COM7");
    EXPECT_EQ(error->function, "Communicate");
    EXPECT_NE(error->cause.find("2 segundos"), std::string::npos) << error->cause;
}

TEST(LibraryErrorsTest, EveryTextOfTheLibraryHasACauseOfItsOwn) {
    const struct {
        int code;
        int line;
    } ERRORS[] = {{-1001, 1975}, {-1002, 1986}, {-1000, 2013}, {-2002, 2052}, {-2003, 2063},
                  {-2004, 2075}, {-1002, 2087}, {-1003, 2087}, {-1, 2110},    {-1, 2114},
                  {-1005, 2114}, {-1006, 2114}, {-1007, 2114}, {-1, 2127},    {-1, 0}};
    std::set<std::string> causes;
    for (const auto& row : ERRORS) {
        const auto error = ExplainLibraryError(ErrorText(row.code, "x", row.line));
        ASSERT_TRUE(error) << row.line;
        EXPECT_NE(error->remedy, "") << row.line;
        EXPECT_TRUE(causes.insert(error->cause).second) << row.line << " " << error->cause;
        EXPECT_NE(error->cause, "A troca com o SAT falhou.") << row.line;
    }
}

TEST(LibraryErrorsTest, LostReplyIsToBeRecovered) {
    const auto error = ExplainLibraryError(ErrorText(-1, "Falha ao receber resposta do  SAT", 2127));
    ASSERT_TRUE(error);
    EXPECT_NE(error->remedy.find("zantir sessao"), std::string::npos) << error->remedy;
}

TEST(LibraryErrorsTest, OwnCommandIsExplained) {
    const auto error = ExplainLibraryError(
        "\x02"
        "ConsultarSAT|000001\x03");
    ASSERT_TRUE(error);
    EXPECT_NE(error->remedy.find("SerialPortWindows"), std::string::npos) << error->remedy;
    EXPECT_EQ(error->message, "ConsultarSAT");
}

TEST(LibraryErrorsTest, RepliesAreNoErrors) {
    EXPECT_FALSE(ExplainLibraryError("000001|08000|SAT Erro||"));
    EXPECT_FALSE(ExplainLibraryError("SAT Erro[99999999999999999999]Win x L[1] F[x] "));
    EXPECT_FALSE(ExplainLibraryError(""));
}

}  // namespace
}  // namespace tool
