#include <climits>
#include <functional>

#include "api_fixture.h"

/** The texts that the sixteen exports send, and what they are made of. */
class CommandText : public Api {
  protected:
    void SetUp() override {
        Load();
        script.ExpectFrame().Ack().SendFrame("000001|00000|ok|||").Loop();
        AttachDevice(&script);
    }

    /** The frame that a call put on the line. */
    std::string Sent(const std::function<char*()>& call) {
        script.frames.clear();
        call();
        EXPECT_EQ(script.frames.size(), 1U);
        return script.frames.empty() ? std::string() : script.frames[0];
    }

    /** The same as text, without its framing and checksum. */
    std::string SentText(const std::function<char*()>& call) {
        const std::string frame = Sent(call);
        return frame.size() < 3 ? frame : frame.substr(1, frame.size() - 3);
    }

    sim::ScriptedDevice script;
};

TEST_F(CommandText, EachOfTheSixteenIsByteExactOnTheWireWithItsChecksum) {
    struct Case {
        std::string text;
        char checksum;
        std::function<char*()> call;
    };
    const Case cases[] = {
        {"AtivarSAT|234567|2|12345678|14200166000166|35", '\xF5',
         [] { return AtivarSAT(1234567, 2, "12345678", "14200166000166", 35); }},
        {"ComunicarCertificadoICPBRASIL|000002|act|-----BEGIN-----", '\x8C',
         [] { return ComunicarCertificadoICPBRASIL(2, "act", "-----BEGIN-----"); }},
        {"EnviarDadosVenda|000003|act|<CFe/>", '\xA4', [] { return EnviarDadosVenda(3, "act", "<CFe/>"); }},
        {"CancelarUltimaVenda|000004|act|CFe3511|<CFeCanc/>", '\x83',
         [] { return CancelarUltimaVenda(4, "act", "CFe3511", "<CFeCanc/>"); }},
        {"ConsultarSAT|000005", '\x44', [] { return ConsultarSAT(5); }},
        {"TesteFimAFim|000006|act|<CFe/>", '\xE7', [] { return TesteFimAFim(6, "act", "<CFe/>"); }},
        {"ConsultarStatusOperacional|000007|act", '\x04',
         [] { return ConsultarStatusOperacional(7, "act"); }},
        {"ConsultarNumeroSessao|000001|XYZ|000001", '\x60',
         [] { return ConsultarNumeroSessao(1, "XYZ", 2000001); }},
        {"ConfigurarInterfaceDeRede|000009|act|<config/>", '\xBE',
         [] { return ConfigurarInterfaceDeRede(9, "act", "<config/>"); }},
        {"AssociarAssinatura|000010|act|1234567890123414200166000166|c2ln", '\xA0',
         [] { return AssociarAssinatura(10, "act", "1234567890123414200166000166", "c2ln"); }},
        {"AtualizarSoftwareSAT|000011|act", '\x32', [] { return AtualizarSoftwareSAT(11, "act"); }},
        {"ExtrairLogs|000012|act", '\xC7', [] { return ExtrairLogs(12, "act"); }},
        {"BloquearSAT|000013|act", '\x77', [] { return BloquearSAT(13, "act"); }},
        {"DesbloquearSAT|000014|act", '\xB4', [] { return DesbloquearSAT(14, "act"); }},
        {"TrocarCodigoDeAtivacao|000015|act|1|newcode|newcode", '\x56',
         [] { return TrocarCodigoDeAtivacao(15, "act", 1, "newcode", "newcode"); }},
        {"ConsultarUltimaSessaoFiscal|000016|act", '\x3E',
         [] { return ConsultarUltimaSessaoFiscal(16, "act"); }},
    };
    for (const Case& one : cases)
        EXPECT_EQ(Shown(Sent(one.call)), Shown("\x02" + one.text + one.checksum + "\x03"));
}

TEST_F(CommandText, TheSessionIsTheSignedRemainderInSixDigits) {
    const std::pair<int, std::string> cases[] = {
        {0, "000000"},       {5, "000005"},        {-5, "-00005"},
        {999999, "999999"},  {1000000, "000000"},  {1234567, "234567"},
        {INT_MAX, "483647"}, {INT_MIN, "-483648"}, {-1000000, "000000"},
    };
    for (const auto& [session, digits] : cases)
        EXPECT_EQ(SentText([s = session] { return ConsultarSAT(s); }), "ConsultarSAT|" + digits) << session;
}

TEST_F(CommandText, TheSessionAskedForIsReducedLikeTheCallsOwn) {
    EXPECT_EQ(SentText([] { return ConsultarNumeroSessao(-1000007, "XYZ", INT_MIN); }),
              "ConsultarNumeroSessao|-00007|XYZ|-483648");
    EXPECT_EQ(SentText([] { return ConsultarNumeroSessao(INT_MAX, "XYZ", INT_MAX); }),
              "ConsultarNumeroSessao|483647|XYZ|483647");
}

TEST_F(CommandText, OtherNumbersAreNotReduced) {
    EXPECT_EQ(SentText([] { return AtivarSAT(1, 1234567, "a", "b", INT_MIN); }),
              "AtivarSAT|000001|1234567|a|b|-2147483648");
    EXPECT_EQ(SentText([] { return TrocarCodigoDeAtivacao(1, "a", -3, "b", "c"); }),
              "TrocarCodigoDeAtivacao|000001|a|-3|b|c");
}

TEST_F(CommandText, ANullTextIsFormattedAsNull) {
    EXPECT_EQ(SentText([] { return ConsultarStatusOperacional(1, nullptr); }),
              "ConsultarStatusOperacional|000001|(null)");
    EXPECT_EQ(SentText([] { return CancelarUltimaVenda(1, nullptr, nullptr, nullptr); }),
              "CancelarUltimaVenda|000001|(null)|(null)|(null)");
}

TEST_F(CommandText, ArgumentsAreSentAsTheyStand) {
    EXPECT_EQ(SentText([] { return TesteFimAFim(1, "", "a|b %s %n\xFF\n"); }),
              "TesteFimAFim|000001||a|b %s %n\xFF\n");
}

TEST_F(CommandText, TheTableKeepsIndexPrefixTimeoutAndReplyFields) {
    struct Row {
        const char* name;
        const char* prefix;
        int timeout;
        int fields;
    };
    const Row rows[] = {
        {"AtivarSAT", "040", 1800, 5},
        {"ComunicarCertificadoICPBRASIL", "050", 300, 5},
        {"EnviarDadosVenda", "060", 30, 6},
        {"CancelarUltimaVenda", "070", 30, 6},
        {"ConsultarSAT", "080", 10, 5},
        {"TesteFimAFim", "090", 20, 5},
        {"ConsultarStatusOperacional", "100", 10, 5},
        {"ConsultarNumeroSessao", "110", 20, 5},
        {"ConfigurarInterfaceDeRede", "120", 20, 5},
        {"AssociarAssinatura", "130", 1800, 5},
        {"AtualizarSoftwareSAT", "140", 1800, 5},
        {"ExtrairLogs", "150", 30, 5},
        {"BloquearSAT", "160", 300, 5},
        {"DesbloquearSAT", "170", 20, 5},
        {"TrocarCodigoDeAtivacao", "180", 30, 5},
        {"ConsultarUltimaSessaoFiscal", "190", 20, 5},
    };
    int index = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_STREQ(SAT_COMMANDS[index].pName, row.name);
        EXPECT_EQ(SAT_COMMANDS[index].iNumArgs, row.fields);
        EXPECT_EQ(gl_tSatCmd[index].iCmd, index);
        EXPECT_STREQ(gl_tSatCmd[index].pRetCodePrefix, row.prefix);
        EXPECT_EQ(gl_tSatCmd[index].iTimeout, row.timeout);
        ++index;
    }
    EXPECT_EQ(index, SAT_COMMAND_COUNT);
}
