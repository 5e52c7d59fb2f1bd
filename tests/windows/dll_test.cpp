/*
 * The DLL as a file that others load: what it exports, what it needs, what it says about itself.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

using testing::AllOf;
using testing::AnyOf;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

/** The DLL that was built beside this program, mapped as Windows maps it. */
class DllTest : public testing::Test {
  protected:
    void SetUp() override {
        path_ = DllPath();
        module_ = LoadLibraryA(path_.c_str());
        ASSERT_NE(module_, nullptr) << path_ << ": error " << GetLastError();
    }

    void TearDown() override {
        if (module_ != nullptr) FreeLibrary(module_);
    }

    static std::string DllPath() {
        char program[MAX_PATH] = {};
        GetModuleFileNameA(nullptr, program, sizeof program);
        const std::string text = program;
        return text.substr(0, text.rfind('\\') + 1) + "ZANTIR64.dll";
    }

    /** What stands at a relative address of the mapped file. */
    template <class Content>
    const Content* At(DWORD address) const {
        return reinterpret_cast<const Content*>(reinterpret_cast<const char*>(module_) + address);
    }

    const IMAGE_NT_HEADERS64& Headers() const {
        return *At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    }

    const IMAGE_DATA_DIRECTORY& Directory(int which) const {
        return Headers().OptionalHeader.DataDirectory[which];
    }

    std::vector<std::string> ExportedNames() const {
        const auto* exports =
            At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
        std::vector<std::string> names;
        for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
            names.emplace_back(At<char>(At<DWORD>(exports->AddressOfNames)[i]));
        }
        return names;
    }

    /** The DLLs that it needs, in small letters. */
    std::vector<std::string> NeededDlls() const {
        std::vector<std::string> names;
        const auto* import =
            At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
        for (; import->Name != 0; ++import) {
            std::string name = At<char>(import->Name);
            for (char& letter : name) {
                letter = static_cast<char>(tolower(static_cast<unsigned char>(letter)));
            }
            names.push_back(name);
        }
        return names;
    }

    std::string path_;
    HMODULE module_ = nullptr;
};

/** A text of the version resource in its first language; empty when there is none. */
std::string VersionText(const std::string& path, const char* key) {
    DWORD ignored = 0;
    std::vector<char> resource(GetFileVersionInfoSizeA(path.c_str(), &ignored));
    if (resource.empty() ||
        GetFileVersionInfoA(path.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()) == 0) {
        return "";
    }
    void* found = nullptr;
    UINT size = 0;
    if (VerQueryValueA(resource.data(), "\\VarFileInfo\\Translation", &found, &size) == 0 || size < 4)
        return "";
    WORD language[2] = {};
    memcpy(language, found, sizeof language);
    char name[100] = {};
    snprintf(name, sizeof name, "\\StringFileInfo\\%04x%04x\\%s", language[0], language[1], key);
    return VerQueryValueA(resource.data(), name, &found, &size) != 0 ? static_cast<const char*>(found) : "";
}

}  // namespace

TEST_F(DllTest, ExportsTheSeventeenFunctionsByTheirPlainNames) {
    EXPECT_THAT(ExportedNames(),
                UnorderedElementsAre("AssociarAssinatura", "AtivarSAT", "AtualizarSoftwareSAT", "BloquearSAT",
                                     "CancelarUltimaVenda", "ComunicarCertificadoICPBRASIL",
                                     "ConfigurarInterfaceDeRede", "ConsultarNumeroSessao", "ConsultarSAT",
                                     "ConsultarStatusOperacional", "ConsultarUltimaSessaoFiscal",
                                     "DesbloquearSAT", "EnviarDadosVenda", "ExtrairLogs", "TesteFimAFim",
                                     "TrocarCodigoDeAtivacao", "VersaoDllZantir"));
}

TEST_F(DllTest, ExportsNothingWithoutAName) {
    const auto* exports = At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
    EXPECT_EQ(exports->NumberOfFunctions, exports->NumberOfNames);
}

TEST_F(DllTest, IsFor64BitWindows) {
    EXPECT_EQ(Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_NE(Headers().FileHeader.Characteristics & IMAGE_FILE_DLL, 0);
}

// The user interface's libraries are not among them: a program that has no windows would wait for them longer
// than for all the rest of its first sale.
TEST_F(DllTest, NeedsOnlyWhatEveryWindowsHas) {
    EXPECT_THAT(NeededDlls(), AllOf(Not(testing::IsEmpty()), Each(AnyOf("advapi32.dll", "kernel32.dll",
                                                                        "msvcrt.dll", "setupapi.dll"))));
}

TEST_F(DllTest, CarriesTheRuntimeOfItsCompiler) {
    for (const char* runtime : {"libgcc", "libstdc++", "winpthread", "libssp"}) {
        EXPECT_THAT(NeededDlls(), Each(Not(HasSubstr(runtime))));
    }
}

TEST_F(DllTest, SaysWhatItIsInItsProperties) {
    EXPECT_EQ(VersionText(path_, "FileVersion"), "02.00");
    EXPECT_EQ(VersionText(path_, "ProductName"), "ZANTIR");
    EXPECT_EQ(VersionText(path_, "OriginalFilename"), "ZANTIR64.dll");
}

TEST_F(DllTest, TellsItsVersion) {
    // The first call of a process writes SAT.ini into the current folder.
    char before[MAX_PATH] = {};
    GetCurrentDirectoryA(sizeof before, before);
    SetCurrentDirectoryA(testing::TempDir().c_str());
    using Version = const char* (*)();
    const auto version =
        reinterpret_cast<Version>(reinterpret_cast<void (*)()>(GetProcAddress(module_, "VersaoDllZantir")));
    ASSERT_NE(version, nullptr);
    EXPECT_STREQ(version(), "ZANTIR DLL Ver. 02.00");
    SetCurrentDirectoryA(before);
}

TEST_F(DllTest, CanBeLoadedAndUnloadedAThousandTimes) {
    ASSERT_TRUE(FreeLibrary(module_));
    module_ = nullptr;
    for (int i = 0; i < 1000; ++i) {
        const HMODULE loaded = LoadLibraryA(path_.c_str());
        ASSERT_NE(loaded, nullptr) << "load " << i << ": error " << GetLastError();
        ASSERT_NE(GetProcAddress(loaded, "EnviarDadosVenda"), nullptr);
        ASSERT_TRUE(FreeLibrary(loaded)) << "unload " << i;
        ASSERT_EQ(GetModuleHandleA("ZANTIR64.dll"), nullptr) << "unload " << i;
    }
}
