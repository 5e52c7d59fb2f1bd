#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>

#include "captured_log.h"
#include "vko_sat_utils/vko_sat_utils.h"

namespace {

/** The first code as a program finds it that has made no call yet. */
const int32_t kFirstCodeAtLoad = tSatRetCodeTbl[0].iCode;

/** A 64-bit FNV-1a digest: it pins every byte of a table without writing the table a second time. */
uint64_t Digest(const std::string& text) {
    uint64_t digest = 0xcbf29ce484222325;
    for (const char character : text) {
        digest = (digest ^ static_cast<unsigned char>(character)) * 0x100000001b3;
    }
    return digest;
}

std::string Row(std::initializer_list<std::string> columns) {
    std::string row;
    for (const std::string& column : columns) {
        row += (row.empty() ? "" : "\t") + column;
    }
    return row + "\n";
}

TEST(ReturnCodes, RowsAreComplete) {
    std::set<int32_t> codes;
    for (size_t i = 0; i < SAT_RET_CODE_COUNT; i++) {
        const tSatRetCodeRow& row = tSatRetCodeTbl[i];
        ASSERT_NE(row.pCmdName, nullptr) << i;
        ASSERT_NE(row.pMessage, nullptr) << i;
        EXPECT_STREQ(row.pDirection, "SAT->AC") << i;
        EXPECT_TRUE(codes.insert(row.iCode).second) << row.iCode;
    }
    const tSatRetCodeRow& end = tSatRetCodeTbl[138];
    EXPECT_EQ(end.pCmdName, nullptr);
    EXPECT_EQ(end.iCode, 99999);
    EXPECT_EQ(end.pDirection, nullptr);
    EXPECT_EQ(end.pMessage, nullptr);
}

TEST(ReturnCodes, RowsPerCommand) {
    std::map<std::string, int> rows;
    for (size_t i = 0; i < SAT_RET_CODE_COUNT; i++) {
        rows[tSatRetCodeTbl[i].pCmdName]++;
    }
    EXPECT_EQ(rows.size(), 16U);
    EXPECT_EQ(rows["AtivarSAT"], 19);
    EXPECT_EQ(rows["CancelaUltimaVenda"], 13);
    EXPECT_EQ(rows["ConsultarUltimaSessaoFiscal"], 8);
}

TEST(ReturnCodes, EveryByteOfTheCatalogue) {
    std::string all;
    for (size_t i = 0; i < SAT_RET_CODE_COUNT; i++) {
        const tSatRetCodeRow& row = tSatRetCodeTbl[i];
        // The start-up may have run before this test: it sets the first code to 0.
        all += Row({row.pCmdName, std::to_string(i == 0 ? 4000 : row.iCode), row.pDirection, row.pMessage});
    }
    EXPECT_EQ(Digest(all), 0x207e8e3226af245bU);
}

TEST(ReturnCodes, EmulatorMessages) {
    std::string all;
    for (size_t i = 0; i < SAT_EMU_SEFAZ_MSG_COUNT; i++) {
        all += Row({std::to_string(tEmuSefazMsgTbl[i].iCode), tEmuSefazMsgTbl[i].pMessage});
    }
    EXPECT_EQ(Digest(all), 0xd5e725837da9153bU);
    EXPECT_EQ(tEmuSefazMsgTbl[0].iCode, 1);
    EXPECT_STREQ(tEmuSefazMsgTbl[3].pMessage, tEmuSefazMsgTbl[4].pMessage);
    EXPECT_EQ(tEmuSefazMsgTbl[6].iCode, 9999);
    EXPECT_EQ(tEmuSefazMsgTbl[6].pMessage, nullptr);
}

TEST(ReturnCodes, Messages) {
    EXPECT_STREQ(SAT_Get_RetCodeMessage(6000, nullptr), "Emitido com sucesso + conteudo notas");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(11000, nullptr), "etorno da sessao processada ***cod especifico");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(19100, nullptr), "Nao Existe esse erro");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(4005, nullptr), "Erro de comunica\xC3\xA7\xC3\xA3o com a SEFAZ");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(17002, nullptr),
                 "SAT bloqueado pelo contribuinte. Verifique configuracies na SEFAZ ");
    for (size_t i = 1; i < SAT_RET_CODE_COUNT; i++) {
        EXPECT_EQ(SAT_Get_RetCodeMessage(tSatRetCodeTbl[i].iCode, nullptr), tSatRetCodeTbl[i].pMessage);
    }
}

TEST(ReturnCodes, SpecialCodes) {
    EXPECT_EQ(SAT_Get_RetCodeMessage(99999, nullptr), nullptr);
    EXPECT_STREQ(SAT_Get_RetCodeMessage(55555, nullptr), "");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(7003, nullptr), "SAT Codigo Retorno[07003] Desconhecido");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(INT32_MAX, nullptr), "SAT Codigo Retorno[2147483647] Desconhecido");
}

TEST(ReturnCodes, TheFirstCodeIsThatOfTheCatalogueUntilTheFirstCall) {
    EXPECT_EQ(kFirstCodeAtLoad, 4000);
}

TEST(ReturnCodes, TheFirstCodeCanBeSetToZero) {
    const int32_t before = tSatRetCodeTbl[0].iCode;
    tSatRetCodeTbl[0].iCode = 4000;
    EXPECT_STREQ(SAT_Get_RetCodeMessage(0, nullptr), "SAT Codigo Retorno[00000] Ignorar.....");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(4000, nullptr), "SAT Ativado Corretamente");
    tSatRetCodeTbl[0].iCode = 0;
    EXPECT_STREQ(SAT_Get_RetCodeMessage(0, nullptr), "SAT Ativado Corretamente");
    EXPECT_STREQ(SAT_Get_RetCodeMessage(4000, nullptr), "SAT Codigo Retorno[04000] Desconhecido");
    tSatRetCodeTbl[0].iCode = before;
}

TEST(ReturnCodes, TheStaticTextIsOverwritten) {
    const char* first = SAT_Get_RetCodeMessage(7003, nullptr);
    const char* second = SAT_Get_RetCodeMessage(7005, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, "SAT Codigo Retorno[07005] Desconhecido");
}

TEST(ReturnCodes, NegativeCodesGiveTheCallersText) {
    std::string text(150, 'x');
    EXPECT_EQ(SAT_Get_RetCodeMessage(-1101, text.data()), text.data());
    EXPECT_STREQ(text.c_str(), (std::string(97, 'x') + "..>").c_str());
    EXPECT_EQ(strlen(text.c_str()), 100U);
    std::string hundred(100, 'y');
    EXPECT_EQ(SAT_Get_RetCodeMessage(-1, hundred.data()), hundred.data());
    EXPECT_EQ(hundred, std::string(100, 'y'));
    EXPECT_EQ(SAT_Get_RetCodeMessage(-1101, nullptr), nullptr);
    std::string ignored(150, 'z');
    EXPECT_STREQ(SAT_Get_RetCodeMessage(6000, ignored.data()), "Emitido com sucesso + conteudo notas");
    EXPECT_EQ(ignored, std::string(150, 'z'));
}

TEST(Ibge, EveryByteOfTheTable) {
    std::string all;
    for (size_t i = 0; i < IBGE_UF_COUNT; i++) {
        const tIbgeUfRow& row = tIbgeUfTbl[i];
        all += Row({std::to_string(row.iCode), row.pStateName, row.pUf, row.pRegion});
        EXPECT_TRUE(i == 0 || row.iCode > tIbgeUfTbl[i - 1].iCode) << row.iCode;
    }
    EXPECT_EQ(Digest(all), 0x60f1ae8b9a53858cU);
    EXPECT_EQ(tIbgeUfTbl[0].iCode, 11);
    EXPECT_EQ(tIbgeUfTbl[27].iCode, 99);
    EXPECT_EQ(tIbgeUfTbl[27].pStateName, nullptr);
    EXPECT_EQ(tIbgeUfTbl[27].pUf, nullptr);
    EXPECT_EQ(tIbgeUfTbl[27].pRegion, nullptr);
}

TEST(Ibge, LookupsAgreeWithTheTable) {
    const CapturedLog log;
    for (size_t i = 0; i < IBGE_UF_COUNT; i++) {
        const tIbgeUfRow& row = tIbgeUfTbl[i];
        const std::string own_copy = row.pStateName;
        EXPECT_EQ(SAT_Get_IBGH_UF_Code(own_copy.c_str()), row.iCode);
        EXPECT_EQ(SAT_Get_IBGE_UF_Name(row.iCode), row.pUf);
        EXPECT_EQ(SAT_Get_IBGE_EstateName(row.iCode), row.pStateName);
        EXPECT_EQ(SAT_Get_IBGE_RegionName(row.iCode), row.pRegion);
    }
    EXPECT_TRUE(log.Lines().empty());
    EXPECT_EQ(SAT_Get_IBGH_UF_Code("SAO PAULO"), 35);
    EXPECT_EQ(SAT_Get_IBGH_UF_Code("DISTRITO FEDERAL"), 53);
    EXPECT_STREQ(SAT_Get_IBGE_UF_Name(35), "SP");
    EXPECT_STREQ(SAT_Get_IBGE_EstateName(35), "SAO PAULO");
    EXPECT_STREQ(SAT_Get_IBGE_RegionName(35), "SUDESTE");
    EXPECT_STREQ(SAT_Get_IBGE_UF_Name(53), "DF");
    EXPECT_STREQ(SAT_Get_IBGE_EstateName(53), "DISTRITO FEDERAL");
    EXPECT_STREQ(SAT_Get_IBGE_RegionName(53), "CENTROESTE");
}

TEST(Ibge, NamesThatAreNotFound) {
    const CapturedLog log;
    for (const char* name : {"SP", "Sao Paulo", "S\xC3\x83O PAULO", "", "SAO PAULO "}) {
        EXPECT_EQ(SAT_Get_IBGH_UF_Code(name), -1) << name;
        EXPECT_TRUE(log.Has(VKO_LOG_ERR, std::string("rc[-001]ER:pStateName[") + name + "]NOT_FOUND!!!"))
            << name;
    }
    EXPECT_EQ(SAT_Get_IBGH_UF_Code(nullptr), -1);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-001]ER:pStateName=NULL"));
    EXPECT_EQ(log.Lines().size(), 6U);
    EXPECT_EQ(log.Lines()[0].function, "SAT_Get_IBGH_UF_Code");
}

TEST(Ibge, CodesThatAreNotFound) {
    const CapturedLog log;
    for (const int32_t code : {34, 99, 0, -1}) {
        EXPECT_EQ(SAT_Get_IBGE_UF_Name(code), nullptr) << code;
        EXPECT_EQ(SAT_Get_IBGE_EstateName(code), nullptr) << code;
        EXPECT_EQ(SAT_Get_IBGE_RegionName(code), nullptr) << code;
    }
    ASSERT_EQ(log.Lines().size(), 12U);
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-001]ER:iUfCode[34]NOT_FOUND!!!"));
    EXPECT_TRUE(log.Has(VKO_LOG_ERR, "rc[-001]ER:iUfCode[00]NOT_FOUND!!!"));
    EXPECT_EQ(log.Lines()[0].function, "SAT_Get_IBGE_UF_Name");
    EXPECT_EQ(log.Lines()[1].function, "SAT_Get_IBGE_EstateName");
    EXPECT_EQ(log.Lines()[2].function, "SAT_Get_IBGE_RegionName");
}

TEST(Session, RandomNumbersFollowTheMillisecond) {
    CapturedLog log;
    constexpr int64_t moment = 1610634000123;
    log.SetUnixMilliseconds(moment);
    const uint32_t number = SAT_Get_RandomNumber(1000000);
    EXPECT_EQ(SAT_Get_RandomNumber(1000000), number);
    srand(static_cast<uint32_t>(moment));
    EXPECT_EQ(static_cast<uint32_t>(rand()) % 1000000, number);
    std::set<uint32_t> numbers;
    for (int i = 0; i < 100; i++) {
        log.SetUnixMilliseconds(moment + i);
        const uint32_t below = SAT_Get_RandomNumber(1000);
        EXPECT_LT(below, 1000U);
        numbers.insert(below);
    }
    EXPECT_GT(numbers.size(), 50U);
    EXPECT_EQ(SAT_Get_RandomNumber(1), 0U);
    EXPECT_EQ(SAT_Get_RandomNumber(0), 0U);
}

TEST(Session, NothingIsFreed) {
    const CapturedLog log;
    char message[] = "not from the heap";
    EXPECT_EQ(SAT_Free_AllocedMsg(message), -1);
    EXPECT_EQ(SAT_Free_AllocedMsg(nullptr), -1);
    EXPECT_EQ(log.Lines().size(), 2U);
    EXPECT_TRUE(log.Has(VKO_LOG_WRN, "--- rc[-001]"));
}

}  // namespace
