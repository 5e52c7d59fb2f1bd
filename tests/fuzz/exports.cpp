/*
 * The exported functions with any arguments, against a device with any faults.
 */
#include <cstring>
#include <functional>
#include <vector>

#include "machine.h"
#include "zantir.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using fuzz::Input;

/** A text argument, or NULL. */
struct Text {
    std::string text;
    bool null;
    const char* Pointer() const { return null ? nullptr : text.c_str(); }
    std::string Formatted() const { return null ? "(null)" : text; }
};

Text TakeText(Input& input) {
    std::string text = input.ConsumeRandomLengthString(300);
    text = text.substr(0, text.find('\0'));
    return {text, input.ConsumeIntegral<uint8_t>() == 255};
}

/** The lowest six digits, with their sign, in at least six places. */
std::string SixDigits(int number) {
    const int reduced = number % 1000000;
    std::string digits = std::to_string(reduced < 0 ? -reduced : reduced);
    const size_t places = reduced < 0 ? 5 : 6;
    digits.insert(0, places > digits.size() ? places - digits.size() : 0, '0');
    return (reduced < 0 ? "-" : "") + digits;
}

/** A call: its command text without STX and ETX, and the call itself. */
struct Call {
    std::string command;
    std::function<char*()> run;
};

/** The arguments of any call; each takes those it has. */
struct Arguments {
    int session;
    int number;
    int other;
    Text a;
    Text b;
    Text c;
};

Call MakeCall(unsigned index, const Arguments& x) {
    using Coded = char*(ZANTIR_CALL*)(int, const char*);
    using CodedText = char*(ZANTIR_CALL*)(int, const char*, const char*);
    static constexpr struct {
        const char* name;
        Coded function;
    } coded[] = {{"ConsultarStatusOperacional", ConsultarStatusOperacional},
                 {"AtualizarSoftwareSAT", AtualizarSoftwareSAT},
                 {"ExtrairLogs", ExtrairLogs},
                 {"BloquearSAT", BloquearSAT},
                 {"DesbloquearSAT", DesbloquearSAT},
                 {"ConsultarUltimaSessaoFiscal", ConsultarUltimaSessaoFiscal}};
    static constexpr struct {
        const char* name;
        CodedText function;
    } coded_text[] = {{"ComunicarCertificadoICPBRASIL", ComunicarCertificadoICPBRASIL},
                      {"EnviarDadosVenda", EnviarDadosVenda},
                      {"TesteFimAFim", TesteFimAFim},
                      {"ConfigurarInterfaceDeRede", ConfigurarInterfaceDeRede}};
    const std::string session = "|" + SixDigits(x.session);
    const std::string a = "|" + x.a.Formatted();
    const std::string b = "|" + x.b.Formatted();
    const std::string c = "|" + x.c.Formatted();
    const std::string number = "|" + std::to_string(x.number);
    if (index < 6) {
        const auto& row = coded[index];
        return {row.name + session + a, [=] { return row.function(x.session, x.a.Pointer()); }};
    }
    if (index < 10) {
        const auto& row = coded_text[index - 6];
        return {row.name + session + a + b,
                [=] { return row.function(x.session, x.a.Pointer(), x.b.Pointer()); }};
    }
    switch (index) {
        case 10:
            return {"AtivarSAT" + session + number + a + b + "|" + std::to_string(x.other),
                    [=] { return AtivarSAT(x.session, x.number, x.a.Pointer(), x.b.Pointer(), x.other); }};
        case 11:
            return {"CancelarUltimaVenda" + session + a + b + c, [=] {
                        return CancelarUltimaVenda(x.session, x.a.Pointer(), x.b.Pointer(), x.c.Pointer());
                    }};
        case 12:
            return {"ConsultarSAT" + session, [=] { return ConsultarSAT(x.session); }};
        case 13:
            return {"ConsultarNumeroSessao" + session + a + "|" + SixDigits(x.number),
                    [=] { return ConsultarNumeroSessao(x.session, x.a.Pointer(), x.number); }};
        case 14:
            return {"AssociarAssinatura" + session + a + b + c, [=] {
                        return AssociarAssinatura(x.session, x.a.Pointer(), x.b.Pointer(), x.c.Pointer());
                    }};
        default:
            return {"TrocarCodigoDeAtivacao" + session + a + number + b + c, [=] {
                        return TrocarCodigoDeAtivacao(x.session, x.a.Pointer(), x.number, x.b.Pointer(),
                                                      x.c.Pointer());
                    }};
    }
}

Arguments TakeArguments(Input& input) {
    Arguments x = {};
    x.session = input.ConsumeIntegral<int>();
    x.number = input.ConsumeIntegral<int>();
    x.other = input.ConsumeIntegral<int>();
    x.a = TakeText(input);
    x.b = TakeText(input);
    x.c = TakeText(input);
    return x;
}

/** What the device does wrong in this run; nothing in half of the runs. */
sim::DeviceFaults TakeFaults(Input& input) {
    sim::DeviceFaults faults;
    const unsigned how = input.ConsumeIntegral<uint8_t>();
    if (how % 2 == 0) return faults;
    faults.silent = (how & 0xE) == 2;
    faults.silent_reply = (how & 0xE) == 4;
    faults.nak_block = (how & 0xE) == 6 ? 0 : -1;
    // Alone: the sum has eight bits, and two faults may cancel each other out.
    faults.bad_checksum_times = (how & 0xE) == 0 ? (how >> 4) % 5 : 0;
    faults.stall_times = (how & 0xE) == 8 ? 1 : 0;
    faults.stall_at = how >> 4;
    faults.corrupt_times = (how & 0xE) == 10 ? 1 + (how >> 6) : 0;
    faults.corrupt_at = how >> 4;
    faults.duplicate_ack = (how & 0xE) == 12;
    if ((how & 0xE) == 14) faults.junk_before_ack = "\x16?";
    return faults;
}

void CheckVersion() {
    ExpectEqual("the version", std::string(VersaoDllZantir()), std::string("ZANTIR DLL Ver. 02.00"));
}

/** What every call leaves behind, however it went. */
void CheckTidy() {
    sim::World& world = sim::world();
    ExpectEqual("open ports", world.ports.OpenCount(), size_t{0});
    Expect(!plat_handle_valid(gl_hComm), "no port is kept");
    ExpectEqual("open files", world.files.OpenFiles(), size_t{0});
    ExpectEqual("open device sets", world.OpenDeviceSets(), size_t{0});
    ExpectEqual("allocations", world.LiveAllocations(), int64_t{0});
    // The lock is free: another process gets it at once.
    world.SetThread(2, 20);
    const plat_handle lock = plat_mutex_create(SAT_LOCK_NAME);
    Expect(plat_mutex_wait(lock, 0) != PLAT_WAIT_TIMEOUT, "the lock is released");
    plat_mutex_release(lock);
    world.SetThread(1, 1);
}

/**
 * One call. `reply` is what the device answers. `corrupted`: with a byte changed, which may turn the sum 3
 * into 4 or back, and those two look the same on the wire.
 */
void CheckCall(const Call& call, const sim::HonestDevice& device, const std::string& reply, bool faulty,
               bool corrupted) {
    // The built-in time-outs of up to half an hour show nothing that one second does not.
    for (tSatCmd& command : gl_tSatCmd)
        command.iTimeout = 1;
    const char* const result = call.run();
    ExpectEqual("the buffer", static_cast<const void*>(result) == gl_strSatRsp, true);
    const std::string text = result;
    const bool error = text.starts_with("SAT Erro[");
    // An ETX in a text ends the frame where it stands: then it is another command, and often a broken one.
    const bool whole = call.command.find('\x03') == std::string::npos;
    const bool clean_reply = reply.find_first_of(std::string("\x03\0", 2)) == std::string::npos;
    if (whole && device.commands_taken > 0) ExpectEqual("the command", device.last_command, call.command);
    if (whole && clean_reply && !corrupted && !error) ExpectEqual("the reply", text, reply);
    if (whole && clean_reply && !faulty) Expect(!error || reply.starts_with("SAT Erro["), "no error");
    CheckTidy();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const unsigned setup = input.ConsumeIntegral<uint8_t>();
    fuzz::FreshMachine('0');
    sim::World& world = sim::world();
    world.files.SetText("SAT.ini", setup % 8 == 7 ? "[LOG]\nLogMode=5\n[CUPOM_DESK]\nEnable=1\n"
                                                  : "[LOG]\nLogMode=0\n[CUPOM_DESK]\nEnable=0\n");
    world.files.MakeFolder("C:\\ProgramData\\CupomDesk\\Cupons\\New");

    std::string reply;
    sim::HonestDevice device([&reply](const std::string&) { return reply; });
    if (setup % 16 != 8) {
        world.ports.Add("\\\\?\\COM7", &device);
        world.devices.push_back({.port_name = "COM7", .friendly = "ZANTIR SAT"});
    }
    CheckVersion();
    for (int calls = 0; calls < 3 && (calls == 0 || input.remaining_bytes() > 0); ++calls) {
        const unsigned index = input.ConsumeIntegral<uint8_t>() % 16;
        const Arguments arguments = TakeArguments(input);
        reply = input.ConsumeRandomLengthString(500);
        device.faults = TakeFaults(input);
        const bool faulty = setup % 16 == 8 || device.faults.silent || device.faults.silent_reply ||
                            device.faults.nak_block == 0 || device.faults.bad_checksum_times > 0 ||
                            device.faults.stall_times > 0 || device.faults.corrupt_times > 0 ||
                            device.faults.duplicate_ack;
        device.commands_taken = 0;
        const bool corrupted = device.faults.corrupt_times > 0;
        CheckCall(MakeCall(index, arguments), device, reply, faulty, corrupted);
    }
    return 0;
}
