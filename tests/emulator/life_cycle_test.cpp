/*
 * The life of a device: activation, link, block, codes, and what each command answers on the way.
 */
#include "life_cycle.h"

#include "commands.h"
#include "device_fixture.h"

namespace emulator {

namespace {

struct LifeCycleTest : DeviceTest {
    void StartAs(std::string_view start) { device = NewDevice({}, 59, start); }

    std::string Activate(const std::string& kind = "1", const std::string& code = "abcd1234") {
        return CodeOf("AtivarSAT|" + NextSession() + "|" + kind + "|" + code + "|11222333000181|43");
    }

    std::string LinkTo(const std::string& signature, const std::string& code = "12345678",
                       const std::string& owners = "4455566600018111222333000181") {
        return CodeOf("AssociarAssinatura|" + NextSession() + "|" + code + "|" + owners + "|" + signature);
    }

    std::string StateOfOperation(const std::string& code = "12345678") {
        return Ask("ConsultarStatusOperacional|" + NextSession() + "|" + code)[27];
    }

    void Mistype(int times) {
        for (int i = 0; i < times; ++i) {
            EXPECT_EQ(CodeOf("ExtrairLogs|" + NextSession() + "|wrong"), "15001");
        }
    }
};

const std::string SIGNED_SALE = Replaced(DEMO_SALE, Between(DEMO_SALE, "<signAC>", "</signAC>"), "c2ln");

// A complete command of each kind, with the code 12345678.
const struct {
    const char* command;
    const char* ready;
    const char* fresh;  // on a device that is not activated
    const char* deactivated;
} EVERY_COMMAND[] = {
    {"ComunicarCertificadoICPBRASIL|000001|12345678|c", "05000", "05099", "05099"},
    {"EnviarDadosVenda|000001|12345678|<CFe/>", "06010", "06002", "06007"},
    {"CancelarUltimaVenda|000001|12345678|k|<x/>", "07002", "07099", "07007"},
    {"ConsultarSAT|000001", "08000", "08000", "08000"},
    {"TesteFimAFim|000001|12345678|<CFe/>", "09099", "09002", "09099"},
    {"ConsultarStatusOperacional|000001|12345678", "10000", "10000", "10000"},
    {"ConsultarNumeroSessao|000001|12345678|000009", "11003", "11002", "11003"},
    {"ConfigurarInterfaceDeRede|000001|12345678|<config><proxy>0</proxy></config>", "12000", "12000",
     "12000"},
    {"AssociarAssinatura|000001|12345678|4455566600018111222333000181|c2ln", "13000", "13099", "13099"},
    {"AtualizarSoftwareSAT|000001|12345678", "14000", "14000", "14003"},
    {"ExtrairLogs|000001|12345678", "15000", "15000", "15000"},
    {"BloquearSAT|000001|12345678", "16000", "16099", "16002"},
    {"DesbloquearSAT|000001|12345678", "17005", "17099", "17007"},
    {"TrocarCodigoDeAtivacao|000001|12345678|1|n|n", "18000", "18099", "18000"},
    {"ConsultarUltimaSessaoFiscal|000001|12345678", "19003", "19002", "19003"},
};

}  // namespace

TEST_F(LifeCycleTest, EveryCommandAnswersAsTheStageDemands) {
    for (const auto& row : EVERY_COMMAND) {
        StartAs("linked");
        EXPECT_EQ(CodeOf(row.command), row.ready) << row.command;
        StartAs("new");
        EXPECT_EQ(CodeOf(row.command), row.fresh) << row.command;
        StartAs("deactivated");
        EXPECT_EQ(CodeOf(row.command), row.deactivated) << row.command;
    }
}

TEST_F(LifeCycleTest, WrongCodesAreToldByEveryCommandThatCarriesOne) {
    for (const auto& row : EVERY_COMMAND) {
        const std::string command = row.command;
        const std::string expected =
            command.starts_with("ConsultarSAT|") ? "08000" : std::string(row.ready, 2) + "001";
        StartAs("linked");
        EXPECT_EQ(CodeOf(Replaced(command, "12345678", "wrong")), expected) << command;
    }
    StartAs("linked");
    EXPECT_EQ(Ask("EnviarDadosVenda|000001|wrong|<CFe/>").size(), 6U);
}

TEST_F(LifeCycleTest, ARunningDeviceIsMovedToWhereOneCanStart) {
    const struct {
        const char* where;
        const char* sale;
    } rows[] = {{"new", "06002"},     {"activated", "06003"},   {"blocked", "06006"}, {"unblocked", "06000"},
                {"blocked", "06006"}, {"deactivated", "06007"}, {"linked", "06000"}};
    for (const auto& row : rows) {
        EXPECT_TRUE(MoveDevice(device, row.where));
        EXPECT_EQ(Sell()[1], row.sale) << row.where;
    }
    EXPECT_EQ(device.documents, 2);
    EXPECT_FALSE(MoveDevice(device, "sold"));
    EXPECT_FALSE(MoveDevice(device, ""));
    EXPECT_EQ(Sell()[1], "06000");
}

TEST_F(LifeCycleTest, AMoveEndsTheLockOfWrongCodesAndTheLink) {
    device.wrong_codes = MOST_WRONG_CODES;
    device.link = {"44555666000181", "11222333000181", "eA=="};
    EXPECT_TRUE(MoveDevice(device, "linked"));
    EXPECT_EQ(device.wrong_codes, 0);
    EXPECT_EQ(Sell()[1], "06004") << "still linked to the same application";
    EXPECT_TRUE(MoveDevice(device, "activated"));
    EXPECT_TRUE(MoveDevice(device, "linked"));
    EXPECT_EQ(Sell()[1], "06000");
}

TEST_F(LifeCycleTest, ADeviceWithoutACodeTellsItsStatusToAnybody) {
    StartAs("new");
    for (const char* command : {"ConsultarStatusOperacional|000001|any",
                                "ConfigurarInterfaceDeRede|000001|any|<config><proxy>0</proxy></config>",
                                "AtualizarSoftwareSAT|000001|any", "ExtrairLogs|000001|any"}) {
        EXPECT_EQ(CodeOf(command).substr(2), "000") << command;
    }
}

TEST_F(LifeCycleTest, FromNewToTheFirstSale) {
    StartAs("new");
    EXPECT_EQ(Sell()[1], "06002");
    EXPECT_EQ(Ask("ConsultarStatusOperacional|000900|x")[25], "00000000") << "no certificate yet";
    EXPECT_EQ(Activate(), "04000");
    EXPECT_EQ(Sell(DEMO_SALE, "abcd1234")[1], "06003");
    EXPECT_EQ(Cancel("CFe")[1], "07001") << "the code is another one now";
    EXPECT_EQ(CodeOf("CancelarUltimaVenda|000901|abcd1234|k|x"), "07004");
    EXPECT_EQ(LinkTo("c2ln", "abcd1234"), "13000");
    EXPECT_EQ(Sell(DEMO_SALE, "abcd1234")[1], "06004") << "another application's signature";
    const auto sale = Sell(SIGNED_SALE, "abcd1234");
    EXPECT_EQ(sale[1], "06000");
    EXPECT_EQ(sale[8].substr(0, 5), "CFe43") << "the state of the activation goes into the keys";
    EXPECT_EQ(Ask("ConsultarStatusOperacional|000902|abcd1234")[25], "20260304");
    EXPECT_EQ(Ask("ConsultarStatusOperacional|000903|abcd1234")[26], "20310303");
}

TEST_F(LifeCycleTest, ActivationHandsOverARequestForACertificate) {
    StartAs("new");
    const auto reply = Ask("AtivarSAT|000001|1|12345678|11222333000181|43");
    ASSERT_EQ(reply.size(), 6U);
    EXPECT_EQ(reply[1], "04000");
    EXPECT_EQ(reply[2], "SAT Ativado Corretamente");
    EXPECT_TRUE(reply[5].starts_with("-----BEGIN CERTIFICATE REQUEST-----\n"));
    EXPECT_TRUE(reply[5].ends_with("\n-----END CERTIFICATE REQUEST-----\n"));
    EXPECT_EQ(Activate(), "04003");
    EXPECT_EQ(Activate("2"), "04003");
}

TEST_F(LifeCycleTest, AnActivationThatIsNotInOrderChangesNothing) {
    StartAs("new");
    EXPECT_EQ(CodeOf("AtivarSAT|000001|9|12345678|11222333000181|43"), "04099");
    EXPECT_EQ(CodeOf("AtivarSAT|000001|1||11222333000181|43"), "04099");
    EXPECT_EQ(CodeOf("AtivarSAT|000001|1|with blank|11222333000181|43"), "04099");
    EXPECT_EQ(CodeOf("AtivarSAT|000001|1|" + std::string(33, 'x') + "|11222333000181|43"), "04099");
    EXPECT_EQ(CodeOf("AtivarSAT|000001|1|12345678|11222333000182|43"), "04002");
    EXPECT_EQ(CodeOf("AtivarSAT|000001|1|12345678|00000000000000|43"), "04002");
    EXPECT_EQ(CodeOf("AtivarSAT|000001|1|12345678|11111111111111|43"), "04002");
    for (const char* state : {"4", "99", "34", "0", "-1", "035", "x"}) {
        EXPECT_EQ(CodeOf(std::string("AtivarSAT|000001|1|12345678|11222333000181|") + state), "04250")
            << state;
    }
    device.settings.taxpayer = "44555666000181";
    EXPECT_EQ(Activate(), "04219");
    EXPECT_EQ(device.stage, Stage::New);
    EXPECT_EQ(device.settings.state, 35);
}

TEST_F(LifeCycleTest, ACertificateOfIcpBrasilCompletesTheActivation) {
    StartAs("new");
    EXPECT_EQ(CodeOf("ComunicarCertificadoICPBRASIL|000900|12345678|cert"), "05099")
        << "nothing was asked for";
    EXPECT_EQ(Activate("2"), "04006");
    EXPECT_EQ(Sell(DEMO_SALE, "abcd1234")[1], "06002");
    EXPECT_EQ(CodeOf("ComunicarCertificadoICPBRASIL|000901|12345678|cert"), "05001");
    EXPECT_EQ(CodeOf("ComunicarCertificadoICPBRASIL|000901|abcd1234|"), "05003");
    EXPECT_EQ(CodeOf("ComunicarCertificadoICPBRASIL|000902|abcd1234|cert"), "05000");
    EXPECT_EQ(Sell(DEMO_SALE, "abcd1234")[1], "06003");
}

TEST_F(LifeCycleTest, ARenewalNeedsADeviceInUseAndItsCode) {
    EXPECT_EQ(Activate("3", "12345678"), "04006");
    EXPECT_EQ(Activate("3", "wrong"), "04099");
    EXPECT_EQ(CodeOf("ComunicarCertificadoICPBRASIL|000902|12345678|cert"), "05000");
    EXPECT_EQ(Ask("ConsultarStatusOperacional|000903|12345678")[25], "20260304");
    StartAs("new");
    EXPECT_EQ(Activate("3"), "04200");
}

TEST_F(LifeCycleTest, AReadyDeviceTakesOneActivationAndStaysLinkedToAny) {
    EXPECT_EQ(Sell()[1], "06000");
    EXPECT_EQ(Activate(), "04000");
    EXPECT_EQ(Activate(), "04003");
    EXPECT_EQ(Sell()[1], "06001") << "the code is another one now";
    EXPECT_EQ(Sell(DEMO_SALE, "abcd1234")[1], "06000");
    EXPECT_EQ(Sell(SIGNED_SALE, "abcd1234")[1], "06000");
    const auto other = Sell(Replaced(DEMO_SALE, "11222333000181", "44555666000181"), "abcd1234");
    EXPECT_EQ(other[1], "06010");
    EXPECT_EQ(other[3],
              "Erro de validacao do conteudo: emit/CNPJ: esperado 11222333000181, encontrado 44555666000181");
}

TEST_F(LifeCycleTest, OnlyAReadyDeviceIsActivatedTwice) {
    for (const char* start : {"activated", "blocked"}) {
        StartAs(start);
        EXPECT_EQ(Activate(), "04003") << start;
    }
    StartAs("deactivated");
    EXPECT_EQ(Activate(), "04004");
    EXPECT_EQ(Activate("3"), "04004");
    EXPECT_EQ(StateOfOperation(), "4");
}

TEST_F(LifeCycleTest, ALinkMustBeWellFormed) {
    EXPECT_EQ(LinkTo("c2ln", "12345678", "44555666000181"), "13004");
    EXPECT_EQ(LinkTo("c2ln", "12345678", "445556660001811122233300018x"), "13004");
    EXPECT_EQ(LinkTo("c2ln", "12345678", "4455566600018211222333000181"), "13004");
    EXPECT_EQ(LinkTo("c2ln", "12345678", "4455566600018111222333000182"), "13004");
    for (const std::string& signature :
         {std::string(), std::string("abc"), std::string("ab c"), std::string("===="), std::string("a==="),
          std::string("a=bc"), std::string(348, 'A')}) {
        EXPECT_EQ(LinkTo(signature), "13003") << signature;
    }
    EXPECT_EQ(LinkTo(std::string(344, 'A')), "13000");
    device.settings.taxpayer = "44555666000181";
    EXPECT_EQ(LinkTo("c2ln"), "13007");
}

TEST_F(LifeCycleTest, OnceLinkedOnlyThatApplicationSellsAndCancels) {
    EXPECT_EQ(LinkTo("c2ln"), "13000");
    EXPECT_EQ(Sell()[1], "06004");
    EXPECT_EQ(Sell(Replaced(SIGNED_SALE, "44555666000181", "11222333000181"))[1], "06004");
    EXPECT_EQ(Sell(Replaced(SIGNED_SALE, "11222333000181", "44555666000181"))[1], "06004");
    EXPECT_EQ(device.documents, 0);
    const std::string key = Sell(SIGNED_SALE)[8];
    EXPECT_EQ(Cancel(key)[1], "07004");
    const std::string cancellation = Replaced(
        Replaced(DEMO_CANCELLATION, Between(DEMO_SALE, "<signAC>", "</signAC>"), "c2ln"), "@CHAVE@", key);
    EXPECT_EQ(CodeOf("CancelarUltimaVenda|000900|12345678|" + key + "|" + cancellation), "07000");
    EXPECT_EQ(LinkTo("b3V0cmE="), "13000") << "another application takes over";
    EXPECT_EQ(Sell(SIGNED_SALE)[1], "06004");
}

TEST_F(LifeCycleTest, ABlockedDeviceSellsNothing) {
    EXPECT_EQ(CodeOf("DesbloquearSAT|000900|12345678"), "17005");
    EXPECT_EQ(StateOfOperation(), "0");
    const std::string key = Sell()[8];
    EXPECT_EQ(CodeOf("BloquearSAT|000901|12345678"), "16000");
    EXPECT_EQ(CodeOf("BloquearSAT|000902|12345678"), "16002");
    EXPECT_EQ(StateOfOperation(), "2");
    EXPECT_EQ(Sell()[1], "06006");
    EXPECT_EQ(Cancel(key)[1], "07006");
    EXPECT_EQ(CodeOf("DesbloquearSAT|000903|12345678"), "17000");
    EXPECT_EQ(Sell()[1], "06000");
    StartAs("blocked");
    EXPECT_EQ(Sell()[1], "06006");
    StartAs("activated");
    EXPECT_EQ(Sell()[1], "06003");
}

TEST_F(LifeCycleTest, SixWrongCodesInARowLockTheDevice) {
    Mistype(5);
    EXPECT_EQ(Sell()[1], "06000") << "a right code ends the count";
    Mistype(5);
    EXPECT_EQ(Sell(DEMO_SALE, "wrong")[1], "06001") << "the last one is told to be wrong";
    EXPECT_EQ(Sell()[1], "06009") << "even with the right code";
    EXPECT_EQ(Cancel("k")[1], "07009");
    EXPECT_EQ(Sell(DEMO_SALE, "wrong")[1], "06009");
    EXPECT_EQ(StateOfOperation(), "3");
    Mistype(1);
    EXPECT_EQ(CodeOf("DesbloquearSAT|000900|12345678"), "17000");
    EXPECT_EQ(Sell()[1], "06000");
}

TEST_F(LifeCycleTest, EitherCodeEndsTheLockByChangingTheCode) {
    Mistype(6);
    EXPECT_EQ(CodeOf("TrocarCodigoDeAtivacao|000900|12345678|1|first|first"), "18000");
    EXPECT_EQ(Sell(DEMO_SALE, "first")[1], "06000");
    Mistype(6);
    EXPECT_EQ(CodeOf("TrocarCodigoDeAtivacao|000901|wrong|2|again|again"), "18002");
    EXPECT_EQ(Sell(DEMO_SALE, "first")[1], "06009");
    EXPECT_EQ(CodeOf("TrocarCodigoDeAtivacao|000902|87654321|2|again|again"), "18000");
    EXPECT_EQ(Sell(DEMO_SALE, "again")[1], "06000");
}

TEST_F(LifeCycleTest, ActivationCodeCanBeChanged) {
    const auto change = [&](const std::string& rest) {
        return CodeOf("TrocarCodigoDeAtivacao|000001|" + rest);
    };
    EXPECT_EQ(change("12345678|1|new|other"), "18099");
    EXPECT_EQ(change("12345678|1||"), "18099");
    EXPECT_EQ(change("12345678|1|n w|n w"), "18099");
    EXPECT_EQ(change("12345678|3|new|new"), "18099");
    EXPECT_EQ(change("12345678|2|new|new"), "18002");
    EXPECT_EQ(change("87654321|1|new|new"), "18001");
    EXPECT_EQ(change("12345678|1|new|new"), "18000");
    EXPECT_EQ(CodeOf("ExtrairLogs|000001|12345678"), "15001");
    EXPECT_EQ(CodeOf("ExtrairLogs|000001|new"), "15000");
    EXPECT_EQ(change("87654321|2|again|again"), "18000");
    EXPECT_EQ(CodeOf("ExtrairLogs|000001|again"), "15000");
}

TEST(Stages, NamesComeAndGo) {
    for (const Start& start : STARTS) {
        EXPECT_EQ(NewDevice({}, 1, start.name).stage, start.stage) << start.name;
    }
    for (const Stage stage : {Stage::New, Stage::Activated, Stage::Linked, Stage::Deactivated}) {
        Stage parsed = stage == Stage::New ? Stage::Linked : Stage::New;
        EXPECT_TRUE(ParseStage(StageName(stage), &parsed));
        EXPECT_EQ(parsed, stage);
    }
    Stage stage = Stage::Linked;
    EXPECT_FALSE(ParseStage("sold", &stage));
    EXPECT_EQ(stage, Stage::Linked);
}

}  // namespace emulator
