/*
 * The replies of sales and cancellations as files.
 */
#include "logged_library.h"

namespace {

constexpr const char* kDefaultFolder = "C:\\ProgramData\\CupomDesk\\Cupons\\New";

class ResultFile : public LoggedLibrary {
  protected:
    /** Receipt files on, into the default folder, which exists. Local time is 12:04:05 on the 20th. */
    void SetUp() override {
        LoggedLibrary::SetUp();
        gl_tSat.iReceiptFilesEnabled = 1;
        World().files.MakeFolder(kDefaultFolder);
    }

    static void Configure(const std::string& folder) {
        VKO_CopyText(gl_tSat.strReceiptPathWindows, sizeof gl_tSat.strReceiptPathWindows, folder.c_str());
    }
    static void Write(const std::string& text, int session = 123456, const char* prefix = "venda-cprx-") {
        write_operation_result(text.data(), session, static_cast<int>(text.size()), prefix, nullptr, 0);
    }
    static std::vector<std::string> Names(const std::string& folder = kDefaultFolder) {
        return World().files.List(folder);
    }
    static std::string Text(const std::string& name, const std::string& folder = kDefaultFolder) {
        return FileText(folder + "\\" + name);
    }
    static std::string Line(const std::string& tag, const std::string& rest) {
        return Api(tag, "write_operation_result") + rest + "\n";
    }
    static std::string Target(const std::string& folder) {
        return Line("INF",
                    " rc[000000]Win:OK \n\t<Operation><DHMS-<Session>.sat\n\tstrTarget[" + folder + "]");
    }
};

TEST_F(ResultFile, TheNameIsMadeOfOperationDayTimeAndSession) {
    World().clock.SetUtc(2026, 11, 16, 17, 7, 9);
    Write("1");
    Write("2", 5, "canc-cprx-");
    EXPECT_THAT(Names(),
                testing::ElementsAre("canc-cprx-16140709-05-1.sat", "venda-cprx-16140709-123456-1.sat"));
    EXPECT_EQ(Text("venda-cprx-16140709-123456-1.sat"), "1");
}

TEST_F(ResultFile, SmallSessionsHaveTwoDigits) {
    for (const int session : {0, 9, 10, 999999})
        Write("x", session);
    EXPECT_THAT(Names(),
                testing::ElementsAre("venda-cprx-20120405-00-1.sat", "venda-cprx-20120405-09-1.sat",
                                     "venda-cprx-20120405-10-1.sat", "venda-cprx-20120405-999999-1.sat"));
}

TEST_F(ResultFile, MonthAndYearAreNotPartOfTheName) {
    Write("first");
    World().clock.SetUtc(2027, 1, 20, 15, 4, 5);
    Write("second");
    EXPECT_THAT(Names(), testing::ElementsAre("venda-cprx-20120405-123456-1.sat"));
    EXPECT_EQ(Text("venda-cprx-20120405-123456-1.sat"), "second");
}

TEST_F(ResultFile, ASecondFileOfThatNameReplacesTheFirst) {
    World().faults.TraceOn({sim::Call::FileOpen});
    Write("a longer text");
    Write("short");
    EXPECT_EQ(Text("venda-cprx-20120405-123456-1.sat"), "short");
    EXPECT_THAT(World().faults.trace, testing::Contains("FileOpen " + std::string(kDefaultFolder) +
                                                        "\\venda-cprx-20120405-123456-1.sat w+"));
    EXPECT_EQ(World().files.OpenFiles(), 0U);
}

TEST_F(ResultFile, TheBytesAreWrittenAsTheyAre) {
    const std::string bytes("a\0b%s\x01\xFF|\r", 9);
    Write(bytes);
    EXPECT_EQ(Text("venda-cprx-20120405-123456-1.sat"), bytes);
    Write("");
    EXPECT_EQ(World().files.Size(std::string(kDefaultFolder) + "\\venda-cprx-20120405-123456-1.sat"), 0);
}

TEST_F(ResultFile, ASavedFileIsReported) {
    Write("x", 5);
    const std::string path = std::string(kDefaultFolder) + "\\venda-cprx-20120405-05-1.sat";
    const std::string log = TakeLog();
    EXPECT_THAT(log, testing::HasSubstr("INF [#] [../src/api/ZANTIR] [write_operation_result]"));
    EXPECT_LT(log.find("venda-cprx-20120405-05-1.sat"), log.find("strTarget"));
    EXPECT_THAT(log, testing::HasSubstr(Target(kDefaultFolder)));
    EXPECT_THAT(log, testing::EndsWith(Line("INF", "Win: rc[000000]OK:\n\tSaved File[" + path +
                                                       "]\n\t          [DD/MM/YYYY HH:MM:SS]\n\t "
                                                       "strTmpTimeStamp[20/11/2026 12:04:05]")));
}

TEST_F(ResultFile, DisabledItDoesNothingAtAll) {
    gl_tSat.iReceiptFilesEnabled = 0;
    Write("x");
    EXPECT_THAT(Names(), testing::IsEmpty());
    EXPECT_EQ(TakeLog(), "");
    EXPECT_EQ(World().faults.Count(sim::Call::CommonDataFolder), 0U);
}

TEST_F(ResultFile, TheConfiguredFolderIsUsed) {
    World().files.MakeFolder("D:\\Cupons");
    Configure("D:\\Cupons");
    Write("x");
    EXPECT_THAT(Names(), testing::IsEmpty());
    EXPECT_EQ(Text("venda-cprx-20120405-123456-1.sat", "D:\\Cupons"), "x");
    EXPECT_THAT(TakeLog(), testing::HasSubstr(Target("D:\\Cupons")));
    Configure(kDefaultFolder);
    Write("y");
    EXPECT_EQ(Text("venda-cprx-20120405-123456-1.sat"), "y");
}

TEST_F(ResultFile, TheDefaultFolderFollowsTheSystems) {
    World().files.SetCommonDataFolder("E:\\Shared");
    World().files.MakeFolder("E:\\Shared\\CupomDesk\\Cupons\\New");
    Write("x");
    EXPECT_THAT(Names("E:\\Shared\\CupomDesk\\Cupons\\New"), testing::SizeIs(1));
}

TEST_F(ResultFile, AMissingFolderIsNotMade) {
    World().files.Remove("C:\\ProgramData\\CupomDesk");
    Write("x");
    EXPECT_FALSE(World().files.Exists("C:\\ProgramData\\CupomDesk"));
    // The folder's line is the routine's last one.
    const std::string log = TakeLog();
    EXPECT_THAT(log,
                testing::EndsWith(Target(kDefaultFolder) + "WRN [#] VKO_Exist  rc[-00001]WR:  pDirFileName[" +
                                  kDefaultFolder + "] Not Found!!! force return 0\n"));
}

TEST_F(ResultFile, AFileInPlaceOfTheFolderEndsItToo) {
    World().files.SetText("D:\\file", "keep");
    Configure("D:\\file");
    Write("x");
    EXPECT_EQ(FileText("D:\\file"), "keep");
    EXPECT_THAT(TakeLog(), testing::Not(testing::HasSubstr("Saved")));
}

TEST_F(ResultFile, WithoutTheSystemsFolderNothingIsWritten) {
    World().files.MakeFolder("D:\\Cupons");
    Configure("D:\\Cupons");
    World().files.SetCommonDataFolder(nullptr);
    Write("x");
    EXPECT_THAT(Names("D:\\Cupons"), testing::IsEmpty());
    EXPECT_EQ(TakeLog(), Line("ERR", "Win: rc[-001d]ER Function:SHGetFolderPath:Fail\n\t      path[]"));
}

TEST_F(ResultFile, AFileThatCannotBeOpenedIsReported) {
    const std::string path = std::string(kDefaultFolder) + "\\venda-cprx-20120405-123456-1.sat";
    World().files.SetText(path, "old");
    World().files.Lock(path);
    Write("x");
    EXPECT_EQ(FileText(path), "old");
    EXPECT_THAT(TakeLog(),
                testing::EndsWith(Line("INF", "Win: rc[-00001]ER:Timestamp Not Saved on File[" + path +
                                                  "]\n\t          [DD/MM/YYYY HH:MM:SS]\n\t "
                                                  "strTmpTimeStamp[20/11/2026 12:04:05]")));
}

TEST_F(ResultFile, AFileThatCannotBeWrittenWholeIsReported) {
    const std::string path = std::string(kDefaultFolder) + "\\venda-cprx-20120405-123456-1.sat";
    for (const sim::Call call : {sim::Call::FileWrite, sim::Call::FileClose}) {
        // The log's lines are files opened and closed as well: this one's is the last.
        const uint64_t before = World().faults.Count(call);
        Write("x");
        const uint64_t last = World().faults.Count(call) - before;
        TakeLog();
        World().faults.FailNth(call, last);

        Write("x");
        EXPECT_THAT(TakeLog(),
                    testing::EndsWith(Line("ERR", "Win: rc[-00001]ER:File[" + path + "]Not Written")));
    }
}

// --------------------------------------------------------------------------------------- through the exports

class ResultFileOfAnExport : public Library {
  protected:
    void SetUp() override {
        Load();
        WriteIni(DefaultIniWith("CUPOM_DESK", "Enable", "1"));
        World().files.MakeFolder(kDefaultFolder);
    }
    static std::vector<std::string> Names() { return World().files.List(kDefaultFolder); }
    static std::string OnlyText() {
        const std::vector<std::string> names = Names();
        EXPECT_EQ(names.size(), 1U);
        return names.size() == 1 ? FileText(std::string(kDefaultFolder) + "\\" + names[0]) : "";
    }
    static void SetTarget(const char* session, const char* prefix) {
        ASSERT_EQ(Names().size(), 1U);
        EXPECT_THAT(Names()[0], testing::StartsWith(prefix));
        EXPECT_THAT(Names()[0], testing::EndsWith(std::string("-") + session + "-1.sat"));
    }
};

TEST_F(ResultFileOfAnExport, ASaleSavesItsReply) {
    sim::HonestDevice device([](const std::string&) { return "000042|06000|0000|Emitido|\n|%s"; });
    AttachDevice(&device);
    EXPECT_STREQ(EnviarDadosVenda(1000042, "12345678", "<CFe/>"), "000042|06000|0000|Emitido|\n|%s");
    EXPECT_EQ(OnlyText(), "000042|06000|0000|Emitido|\n|%s");
    SetTarget("42", "venda-cprx-");
}

TEST_F(ResultFileOfAnExport, ACancellationSavesItsReply) {
    sim::HonestDevice device([](const std::string&) { return "123456|07000|0000|Cancelado"; });
    AttachDevice(&device);
    CancelarUltimaVenda(123456, "12345678", "CFe1", "<CFeCanc/>");
    EXPECT_EQ(OnlyText(), "123456|07000|0000|Cancelado");
    SetTarget("123456", "canc-cprx-");
}

TEST_F(ResultFileOfAnExport, AFailedSaleSavesItsErrorText) {
    const std::string error = EnviarDadosVenda(5, "12345678", "<CFe/>");
    EXPECT_THAT(error, testing::HasSubstr("SAT Nao encontrado!!!"));
    EXPECT_EQ(OnlyText(), error);
    SetTarget("05", "venda-cprx-");
}

TEST_F(ResultFileOfAnExport, NoOtherCommandSavesAnything) {
    sim::HonestDevice device([](const std::string&) { return "000001|08000|SAT em Operacao"; });
    AttachDevice(&device);
    ConsultarSAT(1);
    TesteFimAFim(1, "12345678", "<CFe/>");
    ConsultarUltimaSessaoFiscal(1, "12345678");
    EXPECT_THAT(Names(), testing::IsEmpty());
}

TEST_F(ResultFileOfAnExport, AFullDiskLosesTheFileAndNotTheReply) {
    sim::HonestDevice device([](const std::string&) { return "000042|06000|0000|Emitido"; });
    AttachDevice(&device);
    VersaoDllZantir();
    World().files.SetDiskFree(0);
    EXPECT_STREQ(EnviarDadosVenda(42, "12345678", "<CFe/>"), "000042|06000|0000|Emitido");
    EXPECT_EQ(OnlyText(), "");
    EXPECT_EQ(World().files.OpenFiles(), 0U);
}

TEST_F(ResultFileOfAnExport, AReplyOfMegabytesIsSavedWhole) {
    const std::string reply(3'000'000, 'r');
    sim::HonestDevice device([&reply](const std::string&) { return reply; });
    AttachDevice(&device);
    EnviarDadosVenda(42, "12345678", "<CFe/>");
    EXPECT_TRUE(OnlyText() == reply);
}

}  // namespace
