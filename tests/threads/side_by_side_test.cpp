/*
 * Routines that keep nothing between calls, called from several threads at once: each thread gets what it
 * gets alone.
 */
#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include "scratch_folder.h"
#include "vko_sat_utils/vko_sat_utils.h"
#include "vko_utils/vko_utils.h"

namespace {

constexpr unsigned kThreads = 8;
constexpr unsigned kRounds = 200;

/** What one thread found out, a number or text a step. */
using Results = std::vector<std::string>;
using Work = std::function<Results(unsigned thread)>;

class SideBySide : public ScratchFolder {
  protected:
    void TearDown() override {
        gl_tLogFlags = {};
        gl_tLogSettings = {};
        ScratchFolder::TearDown();
    }

    /** Every thread's work alone first, then all at once, each of them several times. */
    static void ExpectTheSameInThreads(const Work& work) {
        std::vector<Results> alone;
        for (unsigned thread = 0; thread < kThreads; ++thread)
            alone.push_back(work(thread));
        std::atomic<unsigned> waiting{kThreads};
        std::atomic<unsigned> different{0};
        std::vector<std::thread> threads;
        for (unsigned thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&, thread] {
                // All begin at one moment, so that they meet.
                --waiting;
                while (waiting != 0)
                    std::this_thread::yield();
                for (int time = 0; time < 3; ++time)
                    if (work(thread) != alone[thread]) ++different;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(different, 0U);
    }

    /** A reply, whole or spoilt, that no other thread has. */
    static std::string RandomText(std::mt19937* random) {
        std::string text = "\x02" + std::to_string((*random)() % 1000000) + "|06000|";
        for (size_t left = (*random)() % 300; left > 0; --left)
            text += (*random)() % 6 == 0 ? '|' : static_cast<char>((*random)() % 255 + 1);
        return text + "\x41\x03";
    }
};

TEST_F(SideBySide, TheParsers) {
    ExpectTheSameInThreads([](unsigned thread) {
        Results results;
        std::mt19937 random(thread);
        for (unsigned round = 0; round < kRounds; ++round) {
            const std::string text = RandomText(&random);
            const auto size = static_cast<int32_t>(text.size());
            int32_t last = -1, session = -1, code = -1;
            const int32_t fields = SAT_API_CmdPktParcer(text.data(), size);
            const int32_t replies = SAT_API_RspPktParcer(text.data(), size);
            const int32_t arguments = SAT_APP_CmdParcer(nullptr, text.c_str());
            const int32_t result =
                SAT_APP_RspParcer("EnviarDadosVenda", 1, &last, &session, &code, text.c_str() + 1);
            for (const int32_t value : {fields, replies, arguments, result, last, session, code})
                results.push_back(std::to_string(value));
        }
        return results;
    });
}

TEST_F(SideBySide, TheParsersWithEveryLineLogged) {
    std::filesystem::create_directory("Log");
    WriteText("log.ini", "[LOG]\nLogFilePath=Log\nLogMode=5\n");
    VKO_SetIniFileLogMode("SAT_api.log", "log.ini");
    ExpectTheSameInThreads([](unsigned thread) {
        Results results;
        std::mt19937 random(thread);
        for (unsigned round = 0; round < 5; ++round) {
            const std::string text = RandomText(&random);
            results.push_back(
                std::to_string(SAT_API_RspPktParcer(text.data(), static_cast<int32_t>(text.size()))));
        }
        return results;
    });
}

TEST_F(SideBySide, TheFramesAndChecksums) {
    ExpectTheSameInThreads([](unsigned thread) {
        Results results;
        std::mt19937 random(thread);
        for (unsigned round = 0; round < kRounds; ++round) {
            std::string text = RandomText(&random);
            std::string frame(text.size() + 2, '\0');
            int32_t size = 0;
            SAT_API_CreatePacket(text.c_str(), static_cast<int32_t>(text.size()), frame.data(), &size);
            results.push_back(frame);
            results.push_back(
                std::to_string(SAT_API_CalcCkeckSum(text.c_str(), static_cast<int32_t>(text.size()))));
        }
        return results;
    });
}

TEST_F(SideBySide, TheTables) {
    ExpectTheSameInThreads([](unsigned thread) {
        Results results;
        for (unsigned round = 0; round < kRounds; ++round) {
            // Codes that the catalogue has: the text for an unknown one is shared.
            const tSatRetCodeRow& row = tSatRetCodeTbl[(thread * 17 + round) % SAT_RET_CODE_COUNT];
            results.emplace_back(SAT_Get_RetCodeMessage(row.iCode, nullptr));
            char message[200];
            VKO_FormatText(message, sizeof message, "SAT Erro[-%05u]%0*d", thread, 150, 1);
            results.emplace_back(SAT_Get_RetCodeMessage(-1, message));
            const tIbgeUfRow& state = tIbgeUfTbl[(thread * 5 + round) % IBGE_UF_COUNT];
            results.push_back(std::to_string(SAT_Get_IBGH_UF_Code(state.pStateName)));
            results.emplace_back(SAT_Get_IBGE_UF_Name(state.iCode));
            results.emplace_back(SAT_Get_IBGE_EstateName(state.iCode));
            results.emplace_back(SAT_Get_IBGE_RegionName(state.iCode));
        }
        return results;
    });
}

TEST_F(SideBySide, TheCheckDigits) {
    ExpectTheSameInThreads([](unsigned thread) {
        Results results;
        for (unsigned round = 0; round < kRounds; ++round) {
            char number[32];
            VKO_FormatText(number, sizeof number, "%014u", 14200166 + thread * 1000 + round);
            results.push_back(std::to_string(VKO_Check_CNPJ(number)));
            VKO_FormatText(number, sizeof number, "%011u", 123456789 + thread * 1000 + round);
            results.push_back(std::to_string(VKO_Check_CPF(number)));
            results.push_back(std::to_string(VKO_GetCPFCheckDigit(number, 10)));
        }
        return results;
    });
}

TEST_F(SideBySide, TheBase64Encoder) {
    ExpectTheSameInThreads([](unsigned thread) {
        Results results;
        std::mt19937 random(thread);
        for (unsigned round = 0; round < kRounds; ++round) {
            std::string bytes(1 + random() % 500, '\0');
            for (char& byte : bytes)
                byte = static_cast<char>(random());
            std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
            uint64_t length = 0;
            VKO_Base64Encoder(bytes.data(), bytes.size(), text.data(), &length);
            results.push_back(text.substr(0, length));
        }
        return results;
    });
}

TEST_F(SideBySide, TheIniReaderAndWriterOnFilesOfTheirOwn) {
    for (unsigned thread = 0; thread < kThreads; ++thread)
        WriteText(std::to_string(thread) + ".ini", "[A]\nKey=value" + std::to_string(thread) +
                                                       "\n[B]\nKey=" + std::string(thread * 400, 'b') + "\n");
    ExpectTheSameInThreads([](unsigned thread) {
        Results results;
        const std::string name = std::to_string(thread) + ".ini";
        for (unsigned round = 0; round < kRounds / 10; ++round) {
            char value[512];
            for (const char* section : {"A", "B", "C"}) {
                value[0] = '\0';
                results.push_back(std::to_string(
                    VKO_GetIniFileValueSized(name.c_str(), section, "Key", value, sizeof value)));
                results.emplace_back(value);
            }
            const std::string changed = "value" + std::to_string((thread + round) % 10);
            results.push_back(std::to_string(VKO_SetIniFileValue(name.c_str(), "A", "Key", changed.c_str())));
        }
        VKO_SetIniFileValue(name.c_str(), "A", "Key", ("value" + std::to_string(thread)).c_str());
        return results;
    });
}

}  // namespace
