/*
 * Where the log is off, no routine writes a word, whatever it is given.
 */
#include "api_fixture.h"

namespace {

/** A routine that has something to say when the log is on. */
struct Talker {
    const char* name;
    void (*run)();
};

char gl_text[512];
plat_handle gl_hNone = PLAT_INVALID_HANDLE;

const Talker kTalkers[] = {
    {"VKO_FileExist", [] { VKO_FileExist(nullptr); }},
    {"VKO_FileExist of a missing file", [] { VKO_FileExist("missing.txt"); }},
    {"VKO_GetFileSize", [] { VKO_GetFileSize(nullptr); }},
    {"VKO_Exist", [] { VKO_Exist(nullptr); }},
    {"VKO_CreateDir", [] { VKO_CreateDir(nullptr); }},
    {"VKO_CreateDir that fails", [] { VKO_CreateDir("a\\b\\c"); }},
    {"VKO_DeleteDir", [] { VKO_DeleteDir(nullptr); }},
    {"VKO_DeleteDir of a missing folder", [] { VKO_DeleteDir("missing"); }},
    {"VKO_DeleteFile", [] { VKO_DeleteFile(nullptr); }},
    {"VKO_DeleteFile of a missing file", [] { VKO_DeleteFile("missing"); }},
    {"VKO_Base64Encoder", [] { VKO_Base64Encoder(nullptr, 1, nullptr, nullptr); }},
    {"VKO_Base64Decoder", [] { VKO_Base64Decoder(nullptr, 1, nullptr, nullptr); }},
    {"VKO_Base64_Test01", [] { VKO_Base64_Test01(); }},
    {"VKO_Check_CNPJ", [] { VKO_Check_CNPJ(nullptr); }},
    {"VKO_Check_CNPJ of a wrong one", [] { VKO_Check_CNPJ("11222333000182"); }},
    {"VKO_Check_CPF", [] { VKO_Check_CPF(nullptr); }},
    {"VKO_Check_CPF of a wrong one", [] { VKO_Check_CPF("12345678900"); }},
    {"VKO_GetCPFCheckDigit", [] { VKO_GetCPFCheckDigit(nullptr, 10); }},
    {"VKO_GetIniFileValue", [] { VKO_GetIniFileValue(nullptr, "S", "A", gl_text); }},
    {"VKO_GetIniFileValue of a missing file", [] { VKO_GetIniFileValue("x.ini", "S", "A", gl_text); }},
    {"VKO_SetIniFileValue", [] { VKO_SetIniFileValue(nullptr, "S", "A", "1"); }},
    {"VKO_SetIniFileValue that fails",
     [] {
         sim::world().faults.FailNth(sim::Call::AppendText, 1);
         VKO_SetIniFileValue("y.ini", "S", "A", "1");
         sim::world().faults.FailNth(sim::Call::ReadText, 1);
         VKO_SetIniFileValue("y.ini", "S", "A", nullptr);
     }},
    {"SAT_Get_IBGH_UF_Code", [] { SAT_Get_IBGH_UF_Code(nullptr); }},
    {"SAT_Get_IBGH_UF_Code of no state", [] { SAT_Get_IBGH_UF_Code("XX"); }},
    {"SAT_Get_IBGE_UF_Name", [] { SAT_Get_IBGE_UF_Name(99); }},
    {"SAT_API_CalcCkeckSum", [] { SAT_API_CalcCkeckSum(nullptr, 1); }},
    {"SAT_API_CalcCkeckSum of a packet",
     [] {
         SAT_API_CalcCkeckSum(
             "\x02"
             "A\x03",
             3);
     }},
    {"SAT_API_CreatePacket", [] { SAT_API_CreatePacket(nullptr, 1, nullptr, nullptr); }},
    {"SAT_API_DecodeSatCmd", [] { SAT_API_DecodeSatCmd(nullptr, 1); }},
    {"SAT_API_CmdPktParcer", [] { SAT_API_CmdPktParcer(nullptr, 1); }},
    {"SAT_API_CmdPktParcer of a packet",
     [] {
         SAT_API_CmdPktParcer(
             "\x02"
             "A|1|2\x05\x03",
             8);
     }},
    {"SAT_API_RspPktParcer", [] { SAT_API_RspPktParcer(nullptr, 1); }},
    {"SAT_APP_CmdParcer", [] { SAT_APP_CmdParcer(nullptr, nullptr); }},
    {"SAT_APP_CmdParcer of arguments", [] { SAT_APP_CmdParcer("ConsultarSAT", "1|2"); }},
    {"SAT_Get_RandomNumber", [] { SAT_Get_RandomNumber(0); }},
    {"generate_98_return", [] { generate_98_return(gl_text, 1, 0, -1); }},
    {"generate_98_return of a command", [] { generate_98_return(gl_text, 1, 4, 5); }},
    {"WideCharToByte", [] { WideCharToByte(nullptr, gl_text); }},
    {"WideCharToByte without room", [] { WideCharToByte(L"a", nullptr); }},
    {"WideCharToByte of a text", [] { WideCharToByte(L"a", gl_text); }},
    {"cSerialOpenW", [] { cSerialOpenW(7, &gl_hNone); }},
    {"cSerialOpenW of no port", [] { cSerialOpenW(0, &gl_hNone); }},
    {"cDuplicateSerialW", [] { cDuplicateSerialW(7, &gl_hNone); }},
    {"cSerialSettingsW", [] { cSerialSettingsW(&gl_hNone); }},
    {"cSerialCloseW", [] { cSerialCloseW(&gl_hNone); }},
    {"printGetLastError", [] { printGetLastError(); }},
    {"CreateSAT_ProtLogFile", [] { CreateSAT_ProtLogFile(); }},
    {"LogSATProtocolMsg", [] { LogSATProtocolMsg(nullptr, 0); }},
    {"LogSATProtocolMsg of a packet",
     [] {
         LogSATProtocolMsg(
             "\x02"
             "A\x41\x03",
             1);
     }},
    {"LogInfo", [] { LogInfo(nullptr); }},
    {"LogInfo of a text", [] { LogInfo("text"); }},
    {"vListComPorts", [] { vListComPorts(nullptr); }},
    {"LinkConsultWriteError",
     [] {
         for (const int error : {9, 11, 140, 5})
             LinkConsultWriteError(error, 10, 3000, 2000);
     }},
    {"LinkConsultReadError",
     [] {
         for (const int error : {9, 11, 140, 5})
             LinkConsultReadError(error, {1, 1, 16384, 3000, 2000});
     }},
    {"cSerialWriteBufW", [] { cSerialWriteBufW(nullptr, 0, nullptr); }},
    {"cSerialReadBufW", [] { cSerialReadBufW(nullptr, 0, nullptr, 1); }},
    {"lSerialFlushRx", [] { lSerialFlushRx(nullptr); }},
    {"write_operation_result", [] { write_operation_result("a", 1, 1, "venda-cprx-", nullptr, 0); }},
    {"GetFixedSerialPort", [] { GetFixedSerialPort(nullptr); }},
    {"GetFixedSerialPort without SAT.ini", [] { GetFixedSerialPort(gl_text); }},
};

class SilentLog : public Api, public testing::WithParamInterface<Talker> {};

TEST_P(SilentLog, NothingIsWritten) {
    LogAtMode('0');
    World().files.MakeFolder("Log");
    GetParam().run();
    EXPECT_TRUE(World().files.List("Log").empty()) << DiagnosticLog() << ProtocolLog();
}

std::string NameOf(const testing::TestParamInfo<Talker>& info) {
    std::string name;
    for (const char* c = info.param.name; *c != '\0'; ++c)
        if (isalnum(static_cast<unsigned char>(*c)) != 0) name += *c;
    return name;
}

INSTANTIATE_TEST_SUITE_P(Of, SilentLog, testing::ValuesIn(kTalkers), NameOf);

}  // namespace
