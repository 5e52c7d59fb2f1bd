/*
 * The default configuration file: its text to the byte, and when it is written.
 */
#include "logged_library.h"
#include "lost_memory.h"

namespace {

/** The default file, line by line. */
const char kDefault[] = R"(#
# IMPORTANTE: Para fixar a porta adicione >> FixarPorta=<NomeDaPorta>
#
[SERIAL_PORT_CONFIG]
SerialPortConfig=115200,8,N,1
ReadIntervalTimeout=10
ReadTotalTimeoutMultiplier=1
ReadTotalTimeoutConstant=1
WriteTotalTimeoutMultiplier=1
WriteTotalTimeoutConstant=1000

#
# Define o timeout em Segundos de resposta para as funcaes do SAT
#
[SAT_TIMEOUT]
AtivarSAT                     =1800
ComunicarCertificadoICPBRASIL = 300
EnviarDadosVenda              =  30
CancelarUltimaVenda           =  30
ConsultarSAT                  =  10
TesteFimAFim                  =  20
ConsultarStatusOperacional    =  10
ConsultarNumeroSessao         =  20
ConfigurarInterfaceDeRede     =  20
AssociarAssinatura            =1800
AtualizarSoftwareSAT          =1800
ExtrairLogs                   =  30
BloquearSAT                   = 300
DesbloquearSAT                =  20
TrocarCodigoDeAtivacao        =  30
ConsultarUltimaSessaoFiscal   =  20

#
# SAT_EMULATOR <default>0=Disable
#
[SAT_EMULATOR]
SerialPortWindows=CNCA0
SerialPortLinux=/dev/ttyVSP0
Enable=0

#
# CupomDesk <default>0=Disable
#
[CUPOM_DESK]
PathWindows=C:\ProgramData\CupomDesk\Cupons\New
PathLinux=/etc/CupomDesk/Cupons/New
Enable=0

#
# LogMode 0=Disable, 1=Error, 2=Warning, 3=Info, 4=Trace, 5=Debug
#
[LOG]
LogFilePath=Log
LogFileName=
LogFileMaxSize=1300000
LogMode=1

)";
constexpr int kDefaultSize = static_cast<int>(sizeof kDefault) - 1;

class DefaultConfiguration : public LoggedLibrary {
  protected:
    static std::string Line(const std::string& tag, const std::string& rest) {
        return Api(tag, "CreateFile_ZantirIni") + " rc" + rest + "\n";
    }
};

TEST_F(DefaultConfiguration, AMissingFileIsWrittenToTheByte) {
    World().faults.TraceOn({sim::Call::FileOpen, sim::Call::FileReplace});
    EXPECT_EQ(CreateFile_ZantirIni(), kDefaultSize);
    EXPECT_EQ(FileText("C:\\app\\SAT.ini"), kDefault);
    EXPECT_EQ(World().faults.trace.at(0), "FileReplace SAT.ini " + std::to_string(kDefaultSize));
    EXPECT_EQ(World().files.OpenFiles(), 0U);
    EXPECT_EQ(World().LiveAllocations(), 0);
    char size[16];
    VKO_FormatText(size, sizeof size, "[%06d]", kDefaultSize);
    EXPECT_EQ(TakeLog(), Line("WRN", size + std::string("OK file[SAT.ini]Successfull Created!!!")));
}

TEST_F(DefaultConfiguration, AnEmptyFileCountsAsMissing) {
    WriteIni("");
    EXPECT_EQ(CreateFile_ZantirIni(), kDefaultSize);
    EXPECT_EQ(FileText("SAT.ini"), kDefault);
}

TEST_F(DefaultConfiguration, AFileOfOneByteIsLeftAlone) {
    WriteIni("#");
    EXPECT_EQ(CreateFile_ZantirIni(), 1);
    EXPECT_EQ(FileText("SAT.ini"), "#");
    EXPECT_EQ(TakeLog(), Line("INF", "[000001]OK file[SAT.ini]Already Exist!"));
}

TEST_F(DefaultConfiguration, AFileThatCannotBeWrittenIsReportedWithTheFirstResult) {
    for (const int found : {-1, 0}) {
        if (found == 0) WriteIni("");
        World().faults.FailNth(sim::Call::FileReplace, 1);
        EXPECT_EQ(CreateFile_ZantirIni(), found);
        EXPECT_EQ(TakeLog(), Line("ERR", (found == 0 ? "[000000]" : "[-00001]") +
                                             std::string("ER file[SAT.ini]Could not be Created!!!")));
        EXPECT_EQ(World().LiveAllocations(), 0);
    }
}

TEST_F(DefaultConfiguration, WithoutMemoryNothingIsOpened) {
    World().faults.FailNth(sim::Call::Alloc, 1);
    EXPECT_EQ(CreateFile_ZantirIni(), -1);
    EXPECT_FALSE(World().files.Exists("SAT.ini"));
    EXPECT_EQ(TakeLog(), Line("ERR", "[-00001]ER file[SAT.ini] calloc fail!!!"));
}

TEST_F(DefaultConfiguration, AFileThatIsGoneAfterTheWriteIsReported) {
    // The status is asked before the write and after it.
    World().faults.FailNth(sim::Call::FileQuery, 2);
    EXPECT_EQ(CreateFile_ZantirIni(), -1);
    EXPECT_EQ(TakeLog(), Line("ERR", "[-00001]ER file[SAT.ini]Could not be Created!!!"));
}

TEST_F(DefaultConfiguration, AFullDiskLeavesNoPartOfItAndTheNextStartWritesItAnew) {
    // Cut off here, the file would give sales 3 s instead of 30.
    for (const int64_t fits : {0, 100, 456, 1323}) {
        Load();
        World().files.SetDiskFree(fits);
        EXPECT_EQ(CreateFile_ZantirIni(), -1) << fits;
        EXPECT_FALSE(World().files.Exists("SAT.ini")) << fits;
        EXPECT_EQ(World().files.OpenFiles(), 0U);
        World().files.SetDiskFree(-1);
        VersaoDllZantir();
        EXPECT_EQ(FileText("SAT.ini"), kDefault) << fits;
    }
}

TEST_F(DefaultConfiguration, AFailedWriteLeavesAnEmptyFileAsItWas) {
    WriteIni("");
    World().faults.FailNth(sim::Call::FileReplace, 1, 1, 1);
    EXPECT_EQ(CreateFile_ZantirIni(), 0);
    EXPECT_TRUE(World().files.Exists("SAT.ini"));
    EXPECT_EQ(FileText("SAT.ini"), "");
}

TEST_F(DefaultConfiguration, AProcessKilledWhileItIsWrittenLeavesNoneOrAllOfIt) {
    for (const int64_t reached : {0, 1, 456, kDefaultSize - 1}) {
        Load();
        World().files.KillAfterBytes(reached);
        const LostMemory lost;
        EXPECT_THROW(CreateFile_ZantirIni(), sim::Killed) << reached;
        EXPECT_FALSE(World().files.Exists("SAT.ini")) << reached;
    }
}

TEST_F(DefaultConfiguration, TheFirstCallInAFreshFolderWritesItAndAppliesIt) {
    for (const bool empty : {false, true}) {
        Load();
        if (empty) WriteIni("");
        EXPECT_STREQ(VersaoDllZantir(), "ZANTIR DLL Ver. 02.00");
        EXPECT_EQ(FileText("SAT.ini"), kDefault);
        EXPECT_EQ(gl_tSat.uiReadIntervalTimeout, 0xFFFFFFFFU);
        EXPECT_EQ(gl_tSat.uiReadTotalTimeoutMultiplier, 0xFFFFFFFFU);
        EXPECT_EQ(gl_tSat.uiReadTotalTimeoutConstant, 0xFFFFFFF5U);
        EXPECT_EQ(gl_tSat.iWriteTotalTimeoutMultiplier, 1);
        EXPECT_EQ(gl_tSat.iWriteTotalTimeoutConstant, 1000);
        EXPECT_STREQ(gl_tSat.strSerialPortConfig, "115200,8,N,1");
        EXPECT_EQ(gl_tLogSettings.iLevelMask, 1);
        EXPECT_EQ(gl_tLogSettings.iLogFileMaxSize, 1300000);
        EXPECT_TRUE(World().files.IsFolder("Log"));
    }
}

TEST_F(DefaultConfiguration, APassOverAFileOfOneByteDoesNotEvenTry) {
    WriteIni("#");
    TakeLog();
    EXPECT_EQ(UpdateZantirConfiguration(), 30);
    EXPECT_THAT(TakeLog(), testing::Not(testing::HasSubstr("CreateFile_ZantirIni")));
    EXPECT_EQ(FileText("SAT.ini"), "#");
}

TEST_F(DefaultConfiguration, TheLibraryNeverWritesTheFileAgain) {
    VersaoDllZantir();
    const std::string text = FileText("SAT.ini") + "# touched\n";
    WriteIni(text);
    World().clock.Advance(5000);
    World().files.SetModified("SAT.ini", 1);
    VersaoDllZantir();
    EXPECT_EQ(FileText("SAT.ini"), text);
}

}  // namespace
