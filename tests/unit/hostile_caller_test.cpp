/*
 * A caller that passes what nobody should: every export answers with a text, and what goes to the device is
 * what the caller passed, or nothing at all.
 */
#include <climits>
#include <functional>

#include "api_fixture.h"

namespace {

using Texts = std::vector<const char*>;

/** One export. In `sent` "$0" to "$2" stand for the text arguments and "#" for the session. */
struct Export {
    std::string name;
    size_t texts;
    std::string sent;
    std::function<char*(int session, const Texts& t)> call;
};

const std::vector<Export>& Exports() {
    static const std::vector<Export> exports = {
        {"AtivarSAT", 2, "AtivarSAT|#|2|$0|$1|35",
         [](int s, const Texts& t) { return AtivarSAT(s, 2, t[0], t[1], 35); }},
        {"ComunicarCertificadoICPBRASIL", 2, "ComunicarCertificadoICPBRASIL|#|$0|$1",
         [](int s, const Texts& t) { return ComunicarCertificadoICPBRASIL(s, t[0], t[1]); }},
        {"EnviarDadosVenda", 2, "EnviarDadosVenda|#|$0|$1",
         [](int s, const Texts& t) { return EnviarDadosVenda(s, t[0], t[1]); }},
        {"CancelarUltimaVenda", 3, "CancelarUltimaVenda|#|$0|$1|$2",
         [](int s, const Texts& t) { return CancelarUltimaVenda(s, t[0], t[1], t[2]); }},
        {"ConsultarSAT", 0, "ConsultarSAT|#", [](int s, const Texts&) { return ConsultarSAT(s); }},
        {"TesteFimAFim", 2, "TesteFimAFim|#|$0|$1",
         [](int s, const Texts& t) { return TesteFimAFim(s, t[0], t[1]); }},
        {"ConsultarStatusOperacional", 1, "ConsultarStatusOperacional|#|$0",
         [](int s, const Texts& t) { return ConsultarStatusOperacional(s, t[0]); }},
        {"ConsultarNumeroSessao", 1, "ConsultarNumeroSessao|#|$0|#",
         [](int s, const Texts& t) { return ConsultarNumeroSessao(s, t[0], s); }},
        {"ConfigurarInterfaceDeRede", 2, "ConfigurarInterfaceDeRede|#|$0|$1",
         [](int s, const Texts& t) { return ConfigurarInterfaceDeRede(s, t[0], t[1]); }},
        {"AssociarAssinatura", 3, "AssociarAssinatura|#|$0|$1|$2",
         [](int s, const Texts& t) { return AssociarAssinatura(s, t[0], t[1], t[2]); }},
        {"AtualizarSoftwareSAT", 1, "AtualizarSoftwareSAT|#|$0",
         [](int s, const Texts& t) { return AtualizarSoftwareSAT(s, t[0]); }},
        {"ExtrairLogs", 1, "ExtrairLogs|#|$0", [](int s, const Texts& t) { return ExtrairLogs(s, t[0]); }},
        {"BloquearSAT", 1, "BloquearSAT|#|$0", [](int s, const Texts& t) { return BloquearSAT(s, t[0]); }},
        {"DesbloquearSAT", 1, "DesbloquearSAT|#|$0",
         [](int s, const Texts& t) { return DesbloquearSAT(s, t[0]); }},
        {"TrocarCodigoDeAtivacao", 3, "TrocarCodigoDeAtivacao|#|$0|1|$1|$2",
         [](int s, const Texts& t) { return TrocarCodigoDeAtivacao(s, t[0], 1, t[1], t[2]); }},
        {"ConsultarUltimaSessaoFiscal", 1, "ConsultarUltimaSessaoFiscal|#|$0",
         [](int s, const Texts& t) { return ConsultarUltimaSessaoFiscal(s, t[0]); }},
    };
    return exports;
}

/** Every way in which some of an export's texts are `bad` and the others ordinary: each alone, and all. */
std::vector<Texts> Spoilt(const Export& exported, const char* bad) {
    std::vector<Texts> ways;
    for (size_t at = 0; at < exported.texts; ++at) {
        ways.emplace_back(exported.texts, "text");
        ways.back()[at] = bad;
    }
    ways.emplace_back(exported.texts, bad);
    return ways;
}

std::string Expected(const Export& exported, const std::string& session, const Texts& texts) {
    std::string sent;
    for (size_t at = 0; at < exported.sent.size(); ++at) {
        if (exported.sent[at] == '#') {
            sent += session;
        } else if (exported.sent[at] == '$') {
            const char* text = texts[static_cast<size_t>(exported.sent[++at] - '0')];
            sent += text != nullptr ? text : "(null)";
        } else {
            sent += exported.sent[at];
        }
    }
    return sent;
}

/** Takes what comes as it comes and answers each write with ACK and the same reply. */
struct RecordingDevice : sim::Device {
    std::string received;
    void OnBytes(sim::Line& line, const uint8_t* bytes, size_t size) override {
        if (size == 1 && (*bytes == sim::kAck || *bytes == sim::kNak)) return;
        received.append(reinterpret_cast<const char*>(bytes), size);
        line.Send("\x06" + sim::MakeFrame("000001|00000|ok|||"));
    }
};

class HostileCaller : public Api {
  protected:
    void SetUp() override {
        Load();
        // With result files, so that their routine sees the caller's texts too.
        std::string ini = DefaultIniWith("CUPOM_DESK", "Enable", "1");
        WriteIni(ini);
        line = &AttachDevice(&device);
    }

    /** Calls every export with `bad` in each of its texts alone and in all, and compares what is sent. */
    void SendsAsItStands(const char* bad) {
        for (const Export& exported : Exports()) {
            for (const Texts& texts : Spoilt(exported, bad)) {
                device.received.clear();
                const char* reply = exported.call(1, texts);
                ASSERT_EQ(reply, gl_strSatRsp);
                EXPECT_STREQ(reply, "000001|00000|ok|||") << exported.name;
                EXPECT_EQ(Shown(device.received), Shown(sim::MakeFrame(Expected(exported, "000001", texts))));
            }
        }
    }

    RecordingDevice device;
    sim::Line* line = nullptr;
};

TEST_F(HostileCaller, ThereAreSixteenExportsBesideTheVersion) {
    ASSERT_EQ(Exports().size(), size_t{SAT_COMMAND_COUNT});
    for (size_t index = 0; index < Exports().size(); ++index) {
        bool known = false;
        for (const Export& exported : Exports())
            known |= exported.name == SAT_COMMANDS[index].pName;
        EXPECT_TRUE(known) << SAT_COMMANDS[index].pName;
    }
}

TEST_F(HostileCaller, ANullIsSentAsNullInEveryText) {
    SendsAsItStands(nullptr);
}

TEST_F(HostileCaller, AnEmptyTextIsSentEmpty) {
    SendsAsItStands("");
}

TEST_F(HostileCaller, ControlBytesSeparatorsAndConversionsAreSentAsTheyStand) {
    SendsAsItStands("|\x01\x02\x03\x06\x15\x1A\x1B\x7F\r\n\t||%s%n%d%%\\\"");
}

TEST_F(HostileCaller, BytesThatAreNoUtf8AreSentAsTheyStand) {
    SendsAsItStands("\xFF\xFE\x80\xC3(\xED\xA0\x80\xF8\x88\x80\x80\x80 ção");
}

TEST_F(HostileCaller, AFrameInsideATextIsSentAsItStands) {
    SendsAsItStands(
        "\x02"
        "AtivarSAT|000001|1|a|b|35\x42\x03\x06");
}

TEST_F(HostileCaller, TheOutermostSessionsAreReducedInEveryExport) {
    for (const auto& [session, digits] :
         {std::pair<int, std::string>{INT_MIN, "-483648"}, {INT_MAX, "483647"}, {INT_MIN + 1, "-483647"}}) {
        for (const Export& exported : Exports()) {
            const Texts texts(exported.texts, "text");
            device.received.clear();
            EXPECT_STREQ(exported.call(session, texts), "000001|00000|ok|||");
            EXPECT_EQ(device.received, sim::MakeFrame(Expected(exported, digits, texts)));
        }
    }
}

TEST_F(HostileCaller, ElevenMegabytesInAnyTextAreAnsweredAndNeverSent) {
    const std::string huge(11 * 1024 * 1024, 'z');
    for (const Export& exported : Exports()) {
        if (exported.texts == 0) continue;
        for (const Texts& texts : Spoilt(exported, huge.c_str())) {
            EXPECT_EQ(
                std::string(exported.call(INT_MIN, texts)),
                "SAT Erro[-00001]Win Comando excede o tamanho maximo L[0000] F[" + exported.name + "] ");
        }
    }
    EXPECT_EQ(line->Record().opens, 0U);
    EXPECT_EQ(World().faults.Count(sim::Call::MutexCreate), 0U);
    // Nothing of it is left for the next call.
    EXPECT_STREQ(ConsultarSAT(1), "000001|00000|ok|||");
    EXPECT_EQ(device.received, sim::MakeFrame("ConsultarSAT|000001"));
}

}  // namespace
