/*
 * What a device remembers from one run to the next.
 */
#include "state.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "device_fixture.h"
#include "file_store.h"

namespace emulator {

namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

// A file of the test's own, which is there only while the test runs.
struct StateTest : DeviceTest {
    std::string path = testing::TempDir() + "sat-state-" +
                       testing::UnitTest::GetInstance()->current_test_info()->name() + ".json";
    std::string error;

    void SetUp() override { Remove(); }
    void TearDown() override { Remove(); }
    void Remove() const {
        std::remove(path.c_str());
        std::remove(TemporaryName(path).c_str());
        std::remove(LockName(path).c_str());
    }
    void Write(const std::string& content) { ASSERT_TRUE(ReplaceWholeFile(path, content, &error)) << error; }
    std::string Read() { return ReadWholeFile(path, &error).value_or("(none)"); }

    // A device on which everything has happened at least once.
    void Live() {
        device.settings = {"code1234", "87654399", "000654321", "11222333000181", "010204", 43, 999};
        device.stage = Stage::Linked;
        device.blocked = true;
        device.ready_made = true;
        device.certificate_awaited = true;
        device.link = {"44555666000181", "11222333000181", "c2ln"};
        device.wrong_codes = 3;
        device.certified = MORNING - std::chrono::days(3);
        device.update_due = MORNING + std::chrono::days(300);
        device.network = {"IPFIX", "10.0.0.2", "255.0.0.0", "10.0.0.1", "8.8.8.8", "9.9.9.9"};
        device.documents = 123;
        device.last_sale =
            Receipt{"", std::string(44, '7'), "11222333000181", "12.50", "52998224725", MORNING, "", ""};
        device.last_key = std::string(44, '8');
        device.last_issued = MORNING + std::chrono::seconds(5);
        device.last_fiscal_reply = "000009|06000|ação\n";
        device.sessions = {{"000008", "reply 8"}, {"000009", "reply 9"}};
        device.journal = {"line 1", "line 2"};
    }
};

// Every value inside a JSON text, as a path.
std::vector<Json::json_pointer> Paths(const Json& json) {
    std::vector<Json::json_pointer> paths;
    const Json flat = json.flatten();
    for (const auto& entry : flat.items()) {
        paths.emplace_back(entry.key());
    }
    return paths;
}

}  // namespace

TEST_F(StateTest, EveryFieldComesBack) {
    Live();
    Device again = NewDevice({}, 1, "new");
    ASSERT_EQ(ReadState(StateText(device), &again), "");
    EXPECT_EQ(again.settings.activation_code, "code1234");
    EXPECT_EQ(again.settings.emergency_code, "87654399");
    EXPECT_EQ(again.settings.serial, "000654321");
    EXPECT_EQ(again.settings.taxpayer, "11222333000181");
    EXPECT_EQ(again.settings.software, "010204");
    EXPECT_EQ(again.settings.state, 43);
    EXPECT_EQ(again.settings.notice, 999);
    EXPECT_EQ(again.stage, Stage::Linked);
    EXPECT_TRUE(again.blocked);
    EXPECT_TRUE(again.ready_made);
    EXPECT_TRUE(again.certificate_awaited);
    EXPECT_EQ(again.link.application, "44555666000181");
    EXPECT_EQ(again.link.taxpayer, "11222333000181");
    EXPECT_EQ(again.link.signature, "c2ln");
    EXPECT_EQ(again.wrong_codes, 3);
    EXPECT_EQ(again.certified, device.certified);
    EXPECT_EQ(again.update_due, device.update_due);
    EXPECT_EQ(again.network.kind, "IPFIX");
    EXPECT_EQ(again.network.address, "10.0.0.2");
    EXPECT_EQ(again.network.mask, "255.0.0.0");
    EXPECT_EQ(again.network.gateway, "10.0.0.1");
    EXPECT_EQ(again.network.dns1, "8.8.8.8");
    EXPECT_EQ(again.network.dns2, "9.9.9.9");
    EXPECT_EQ(again.documents, 123);
    ASSERT_TRUE(again.last_sale.has_value());
    EXPECT_EQ(again.last_sale->key, std::string(44, '7'));
    EXPECT_EQ(again.last_sale->taxpayer, "11222333000181");
    EXPECT_EQ(again.last_sale->total, "12.50");
    EXPECT_EQ(again.last_sale->buyer, "52998224725");
    EXPECT_EQ(again.last_sale->issued, MORNING);
    EXPECT_EQ(again.last_key, std::string(44, '8'));
    EXPECT_EQ(again.last_issued, device.last_issued);
    EXPECT_EQ(again.last_fiscal_reply, "000009|06000|ação\n");
    ASSERT_EQ(again.sessions.size(), 2U);
    EXPECT_EQ(again.sessions[0].number, "000008");
    EXPECT_EQ(again.sessions[1].reply, "reply 9");
    EXPECT_THAT(again.journal, testing::ElementsAre("line 1", "line 2"));
    EXPECT_EQ(StateText(again), StateText(device));
}

TEST_F(StateTest, AFreshDeviceComesBackToo) {
    for (const Start& start : STARTS) {
        const Device fresh = NewDevice({}, 1, start.name);
        Live();
        ASSERT_EQ(ReadState(StateText(fresh), &device), "") << start.name;
        EXPECT_EQ(StateText(device), StateText(fresh)) << start.name;
    }
}

TEST_F(StateTest, ASaleIsCancelledAfterARestart) {
    const std::string key = Sell()[8];
    const std::string state = StateText(device);
    device = NewDevice({}, 2);
    ASSERT_EQ(ReadState(state, &device), "");
    EXPECT_EQ(CodeOf("ConsultarNumeroSessao|000900|12345678|000001"), "06000");
    EXPECT_EQ(Cancel(key)[1], "07000");
    EXPECT_EQ(Sell()[8].substr(34, 6), "000003");
}

TEST_F(StateTest, UnknownKeysAreForTheFuture) {
    Live();
    Json json = Json::parse(StateText(device));
    json["colour"] = "blue";
    json["settings"]["speed"] = {1, 2};
    json["sessions"][0]["mood"] = nullptr;
    Device again = NewDevice({}, 1);
    EXPECT_EQ(ReadState(json.dump(), &again), "");
    EXPECT_EQ(StateText(again), StateText(device));
}

TEST_F(StateTest, AKeyThatIsMissingOrOfAnotherKindIsAnError) {
    Live();
    const Json whole = Json::parse(StateText(device));
    const Device fresh = NewDevice({}, 1);
    for (const Json::json_pointer& place : Paths(whole)) {
        Json wrong = whole;
        wrong[place] = Json::object();
        Device again = fresh;
        EXPECT_NE(ReadState(wrong.dump(), &again), "") << place;
        EXPECT_EQ(StateText(again), StateText(fresh)) << place;
        // One line less in the journal is no error.
        if (place.to_string().starts_with("/journal/")) continue;
        wrong = whole;
        wrong[place.parent_pointer()].erase(place.back());
        EXPECT_NE(ReadState(wrong.dump(), &again), "") << place;
    }
}

TEST_F(StateTest, AValueThatNoDeviceHasIsAnErrorThatNamesTheKey) {
    Live();
    const Json whole = Json::parse(StateText(device));
    const struct {
        const char* path;
        Json value;
        const char* key;
    } rows[] = {
        {"/format", 2, "format"},
        {"/settings/activation_code", "", "activation_code"},
        {"/settings/activation_code", "a b", "activation_code"},
        {"/settings/emergency_code", "a|b", "emergency_code"},
        {"/settings/serial", "12", "serial"},
        {"/settings/taxpayer", "11222333000182", "taxpayer"},
        {"/settings/software", "1", "software"},
        {"/settings/state", 34, "state"},
        {"/settings/state", -1, "state"},
        {"/settings/state", 35.5, "state"},
        {"/settings/notice", 7, "notice"},
        {"/stage", "sold", "stage"},
        {"/wrong_codes", 7, "wrong_codes"},
        {"/wrong_codes", -1, "wrong_codes"},
        {"/certified", "20261301000000", "certified"},
        {"/update_due", "x", "update_due"},
        {"/link/application", "1", "application"},
        {"/link/signature", "a|b", "signature"},
        {"/network/kind", "X", "kind"},
        {"/network/dns2", "1.2.3|4", "dns2"},
        {"/documents", 1000000, "documents"},
        {"/documents", 4294967297, "documents"},
        {"/last_sale/key", "7", "key"},
        {"/last_sale/total", "1|2", "total"},
        {"/last_sale/buyer", "\x01", "buyer"},
        {"/last_key", "7", "last_key"},
        {"/last_issued", "20260229000000", "last_issued"},
        {"/last_fiscal_reply", "a\x03", "last_fiscal_reply"},
        {"/sessions/0/number", "8", "number"},
        {"/sessions/0/reply", "a\x02", "reply"},
        {"/sessions", 5, "sessions"},
    };
    for (const auto& row : rows) {
        Json wrong = whole;
        wrong[Json::json_pointer(row.path)] = row.value;
        EXPECT_EQ(ReadState(wrong.dump(), &device), std::string("valor invalido em \"") + row.key + "\"")
            << row.path;
    }
}

TEST_F(StateTest, AFileThatWasCutOffOrIsNoStateIsLeftAsItIs) {
    Live();
    const std::string whole = StateText(device);
    const Device fresh = NewDevice({}, 1);
    std::vector<std::string> broken = {"", "{}", "[]", "null", "\xff\xfe", "garbage", std::string(1000, '[')};
    // Behind the last brace stands a line end, which nobody misses.
    for (size_t length = 0; length < whole.size() - 1; length += 7) {
        broken.push_back(whole.substr(0, length));
    }
    for (const std::string& content : broken) {
        Device again = fresh;
        EXPECT_NE(ReadState(content, &again), "") << content;
        EXPECT_EQ(StateText(again), StateText(fresh));
    }
    Write("garbage");
    EXPECT_THAT(LoadOrCreateState(path, &device),
                HasSubstr("o estado em " + path + " nao e valido (nada foi alterado): "));
    EXPECT_EQ(Read(), "garbage");
}

TEST_F(StateTest, BytesChangedInTheFileNeverEndTheProgram) {
    Live();
    const std::string whole = StateText(device);
    std::mt19937 random(21);
    int refused = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string text = whole;
        for (unsigned change = 0; change <= random() % 4; ++change) {
            text[random() % text.size()] = static_cast<char>(random() & 0xFF);
        }
        Device again = NewDevice({}, 1);
        refused += ReadState(text, &again).empty() ? 0 : 1;
        EXPECT_GE(Fields(Answer(again, "ConsultarStatusOperacional|000001|code1234", now)).size(), 5U);
    }
    EXPECT_GT(refused, 500);
}

TEST_F(StateTest, AFileIsMadeWhereThereIsNone) {
    Live();
    EXPECT_EQ(LoadOrCreateState(path, &device), "");
    EXPECT_EQ(Read(), StateText(device));
    EXPECT_EQ(ReadWholeFile(TemporaryName(path), &error), std::nullopt);
    Device again = NewDevice({}, 1);
    EXPECT_EQ(LoadOrCreateState(path, &again), "");
    EXPECT_EQ(StateText(again), StateText(device));
}

TEST_F(StateTest, AFileThatCannotBeWrittenOrReadIsAnError) {
    const std::string nowhere = path + "-none/state.json";
    EXPECT_THAT(SaveState(nowhere, device), HasSubstr("o estado em " + nowhere + " nao pode ser gravado: "));
    EXPECT_THAT(LoadOrCreateState(testing::TempDir(), &device), testing::StartsWith("o estado em "));
    device.settings.activation_code = "\xff";
    EXPECT_THAT(SaveState(path, device), HasSubstr("nao pode ser gravado: "));
    EXPECT_EQ(Read(), "(none)");
}

TEST_F(StateTest, AFileBelongsToOneProgram) {
    auto held = HoldState(path, &error);
    ASSERT_NE(held, nullptr) << error;
    EXPECT_EQ(LoadOrCreateState(path, &device), "");
    EXPECT_EQ(HoldState(path, &error), nullptr);
    EXPECT_EQ(error, "o estado em " + path + " nao pode ser reservado: esta em uso por outro sat-emulator");
    held.reset();
    EXPECT_NE(HoldState(path, &error), nullptr) << error;
    const std::string nowhere = path + "-none/state.json";
    EXPECT_EQ(HoldState(nowhere, &error), nullptr);
    EXPECT_THAT(error, HasSubstr("o estado em " + nowhere + " nao pode ser reservado: "));
    EXPECT_THAT(error, testing::Not(HasSubstr("outro sat-emulator")));
}

TEST_F(StateTest, EveryChangeIsKeptBeforeItsReply) {
    std::vector<std::string> kept;
    const KeepFunction keep = [&](const Device& changed) {
        kept.push_back(StateText(changed));
        return true;
    };
    const std::string reply = AnswerAndKeep(device, "BloquearSAT|000001|12345678", now, keep);
    EXPECT_EQ(reply.substr(0, 12), "000001|16000");
    EXPECT_THAT(kept, testing::ElementsAre(StateText(device)));
    EXPECT_TRUE(device.blocked);
    AnswerAndKeep(device, "nonsense", now, keep);
    EXPECT_EQ(kept.size(), 1U) << "nothing has changed";
}

TEST_F(StateTest, WhatCannotBeKeptHasNotHappened) {
    const KeepFunction fail = [](const Device&) { return false; };
    AnswerAndKeep(device, "ConsultarSAT|000005", now, [](const Device&) { return true; });
    const std::string before = StateText(device);
    EXPECT_EQ(Fields(AnswerAndKeep(device, std::string("EnviarDadosVenda|000001|12345678|") + DEMO_SALE, now,
                                   fail)),
              (std::vector<std::string>{"000001", "06099", "0000", "Erro desconhecido: estado nao gravado",
                                        "", ""}));
    EXPECT_EQ(StateText(device), before);
    EXPECT_EQ(AnswerAndKeep(device, "BloquearSAT|000001|12345678", now, fail),
              "000001|16099|Erro desconhecido: estado nao gravado||");
    EXPECT_FALSE(device.blocked);
}

TEST(Moment, ReadsWhatItWrites) {
    LocalTime moment{};
    EXPECT_TRUE(ParseTimeStamp("20260304050607", &moment));
    EXPECT_EQ(moment, MORNING);
    for (const char* text : {"", "2026030405060", "20260229000000", "20261301000000", "20260304240000",
                             "20260304056000", "20260304050660", "2026030405060x"}) {
        EXPECT_FALSE(ParseTimeStamp(text, &moment)) << text;
    }
    EXPECT_EQ(moment, MORNING);
}

}  // namespace emulator
