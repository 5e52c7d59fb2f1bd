#include "completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tool {
namespace {

using testing::HasSubstr;

const std::vector<CommandName> COMMANDS = {
    {"chamar", "Chama o 'SAT'", {"--codigo", "--json"}},
    {"completar", "Completa", {}},
};

TEST(CompletionTest, BashKnowsCommandsOptionsAndFunctions) {
    const std::string script = CompletionScript("bash", COMMANDS);
    EXPECT_THAT(script, HasSubstr("chamar|completar) command="));
    EXPECT_THAT(script, HasSubstr("chamar) words=\"--codigo --json AtivarSAT "));
    EXPECT_THAT(script, HasSubstr("complete -o default -F _zantir zantir"));
}

TEST(CompletionTest, QuotesInADescriptionDoNotEndTheText) {
    EXPECT_THAT(CompletionScript("zsh", COMMANDS), HasSubstr("'chamar:Chama o '\\''SAT'\\'''"));
}

TEST(CompletionTest, PowerShellGetsListsOfWords) {
    const std::string script = CompletionScript("powershell", COMMANDS);
    EXPECT_THAT(script, HasSubstr("'chamar' = '--codigo','--json','AtivarSAT'"));
    EXPECT_THAT(script, HasSubstr("'completar' = 'bash','zsh','powershell'"));
}

TEST(CompletionTest, OtherShellsHaveNoScript) {
    EXPECT_EQ(CompletionScript("fish", COMMANDS), "");
}

}  // namespace
}  // namespace tool
