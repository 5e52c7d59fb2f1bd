/*
 * The busy reply, and the trimming of a reply.
 */
#include <random>

#include "logged_library.h"

namespace {

class BusyReply : public LoggedLibrary {
  protected:
    struct Reply {
        int rc;
        std::string text;
    };

    /** Composes into 128 bytes, behind which nothing may change. */
    static Reply Compose(int session, int command, int fields) {
        char text[132];
        memset(text, '?', sizeof text);
        const int rc = generate_98_return(text, session, command, fields);
        EXPECT_EQ(std::string(text + 128, 4), "????");
        return {rc, text};
    }

    static std::string Trimmed(std::string text) {
        text += '\0';
        removeNewPipe(text.data());
        return text.c_str();
    }
};

TEST_F(BusyReply, FiveFieldsHaveNoAlertField) {
    const Reply reply = Compose(7, 4, 5);
    EXPECT_EQ(reply.text, "7|08098|SAT em processamento, tente novamente.||");
    EXPECT_EQ(reply.rc, 48);
    EXPECT_EQ(TakeLog(), Api("INF", "generate_98_return") +
                             "All rc[00000]OK:All Gen 98Return \n\t << "
                             "API->PC[00048:7|08098|SAT em processamento, tente novamente.||]\n");
}

TEST_F(BusyReply, AnyOtherCountHasIt) {
    for (const int fields : {6, 0, 1, 4, 7, 1000}) {
        const Reply reply = Compose(7, 2, fields);
        EXPECT_EQ(reply.text, "7|06098|0000|SAT em processamento, tente novamente.||") << fields;
        EXPECT_EQ(reply.rc, 53);
    }
}

TEST_F(BusyReply, EveryCommandHasItsCode) {
    static const char* const prefixes[] = {"040", "050", "060", "070", "080", "090", "100", "110",
                                           "120", "130", "140", "150", "160", "170", "180"};
    for (int command = 0; command < 15; ++command) {
        EXPECT_EQ(Compose(42, command, 5).text,
                  "42|" + std::string(prefixes[command]) + "98|SAT em processamento, tente novamente.||");
    }
}

TEST_F(BusyReply, TheSessionHasNoLeadingZeros) {
    EXPECT_EQ(Compose(42, 2, 6).text, "42|06098|0000|SAT em processamento, tente novamente.||");
    EXPECT_EQ(Compose(0, 2, 6).text, "0|06098|0000|SAT em processamento, tente novamente.||");
    EXPECT_EQ(Compose(INT_MIN, 2, 6).text, "-2147483648|06098|0000|SAT em processamento, tente novamente.||");
}

TEST_F(BusyReply, ACommandOutOfRangeIsAnError) {
    // 15 is a command, and is rejected all the same.
    for (const int command : {15, 16, -1, INT_MAX, INT_MIN}) {
        for (const int fields : {5, 6, -1}) {
            const Reply reply = Compose(7, command, fields);
            EXPECT_EQ(reply.rc, -3000);
            EXPECT_EQ(reply.text, "SAT Erro[-03000] Parametro Invalido  SAT L[3149] F[generate_98_return] ");
            EXPECT_EQ(TakeLog(), Api("ERR", "generate_98_return") + " rc[-03000]ER:All All Error!!!!!!\n");
        }
    }
}

TEST_F(BusyReply, ANegativeCountWritesAnErrorAndCountsAsSuccess) {
    const std::string text =
        "SAT Erro[-03000] Numero de Argumentos errados  SAT L[3133] F[generate_98_return] ";
    for (const int fields : {-1, INT_MIN}) {
        const Reply reply = Compose(7, 0, fields);
        EXPECT_EQ(reply.text, text);
        EXPECT_EQ(reply.rc, static_cast<int>(text.size()));
        EXPECT_THAT(TakeLog(), testing::StartsWith("INF "));
    }
}

// ------------------------------------------------------------------------------------------------ trimming

TEST_F(BusyReply, NinePipesLoseTheFifth) {
    EXPECT_EQ(Trimmed("a|b|c|d|e|f|g|h|i|j"), "a|b|c|d|ef|g|h|i|j");
    EXPECT_EQ(TakeLog(), Api("WRN", "removeNewPipe") + "Win: pcToRemovePipe[00018:a|b|c|d|ef|g|h|i|j]\n");
    EXPECT_EQ(Trimmed("|||||||||"), "||||||||");
    EXPECT_EQ(Trimmed("a||||||||| "), "a|||||||| ");
}

TEST_F(BusyReply, AnyOtherCountLosesTheLastCharacter) {
    EXPECT_EQ(Trimmed("x|y|\n"), "x|y|");
    EXPECT_EQ(TakeLog(), Api("WRN", "removeNewPipe") + "Win: pcToRemovePipe[00004:x|y|]\n");
    EXPECT_EQ(Trimmed("x"), "");
    EXPECT_EQ(Trimmed("||||||||"), "|||||||");
    EXPECT_EQ(Trimmed("||||||||||"), "|||||||||");
    EXPECT_EQ(Trimmed("a|b|c|d|e|f|g|h|i"), "a|b|c|d|e|f|g|h|");
    EXPECT_EQ(Trimmed("a|b|c|d|e|f|g|h|i|j|k"), "a|b|c|d|e|f|g|h|i|j|");
}

TEST_F(BusyReply, NothingToTrimIsLeftAlone) {
    removeNewPipe(nullptr);
    EXPECT_EQ(TakeLog(), "");
    // What stands in front of an empty text is not touched.
    char text[2] = {'|', '\0'};
    removeNewPipe(text + 1);
    EXPECT_EQ(text[0], '|');
    EXPECT_EQ(text[1], '\0');
}

TEST_F(BusyReply, RandomTextsAgreeWithASecondFormulation) {
    std::mt19937 random(98);
    LoadAtMode('0');
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (size_t left = 1 + random() % 25; left > 0; --left)
            text += "||ab\n"[random() % 5];
        std::string expected = text;
        if (std::count(text.begin(), text.end(), '|') == 9) {
            size_t fifth = text.find('|');
            for (int i = 1; i < 5; ++i)
                fifth = text.find('|', fifth + 1);
            expected.erase(fifth, 1);
        } else {
            expected.pop_back();
        }
        ASSERT_EQ(Trimmed(text), expected) << text;
    }
}

}  // namespace
