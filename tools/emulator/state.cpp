#include "state.h"

#include <nlohmann/json.hpp>

#include "decimal.h"
#include "file_store.h"
#include "fiscal_key.h"
#include "notice.h"

namespace emulator {

namespace {

using Json = nlohmann::json;

constexpr int FORMAT = 1;
constexpr int LAST_DOCUMENT = 999999;

// A moment that has not come stands as an empty text.
std::string MomentText(LocalTime moment) {
    return moment == LocalTime{} ? std::string() : TimeStamp(moment);
}

struct Invalid : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void Demand(bool condition, const char* key) {
    if (!condition) throw Invalid(std::string("valor invalido em \"") + key + "\"");
}

LocalTime MomentOf(const Json& object, const char* key) {
    const std::string text = object.at(key).get<std::string>();
    LocalTime moment{};
    Demand(text.empty() || ParseTimeStamp(text, &moment), key);
    return moment;
}

// A number in its range; JSON's own conversion would cut one that does not fit.
int NumberOf(const Json& object, const char* key, int least, int most) {
    const Json& value = object.at(key);
    Demand(value.is_number_integer() && value >= least && value <= most, key);
    return value.get<int>();
}

std::string DigitsOf(const Json& object, const char* key, size_t count) {
    std::string text = object.at(key).get<std::string>();
    Demand(IsDigits(text, count), key);
    return text;
}

std::string TaxpayerOf(const Json& object, const char* key) {
    std::string text = object.at(key).get<std::string>();
    Demand(text.empty() || IsTaxpayer(text), key);
    return text;
}

std::string CodeOf(const Json& object, const char* key) {
    std::string text = object.at(key).get<std::string>();
    Demand(IsUsableCode(text), key);
    return text;
}

// A reply goes out on the line as it stands here: no byte of it may look like the end of a frame.
std::string ReplyOf(const Json& object, const char* key) {
    std::string text = object.at(key).get<std::string>();
    Demand(text.find_first_of(std::string_view("\0\x02\x03", 3)) == text.npos, key);
    return text;
}

Json SettingsJson(const DeviceSettings& settings) {
    return {{"activation_code", settings.activation_code},
            {"emergency_code", settings.emergency_code},
            {"serial", settings.serial},
            {"taxpayer", settings.taxpayer},
            {"software", settings.software},
            {"state", settings.state},
            {"notice", settings.notice}};
}

DeviceSettings SettingsOf(const Json& object) {
    DeviceSettings settings;
    settings.activation_code = CodeOf(object, "activation_code");
    settings.emergency_code = CodeOf(object, "emergency_code");
    settings.serial = DigitsOf(object, "serial", 9);
    settings.taxpayer = TaxpayerOf(object, "taxpayer");
    settings.software = DigitsOf(object, "software", 6);
    settings.state = NumberOf(object, "state", 0, 99);
    Demand(IsState(Padded(settings.state, 2)), "state");
    settings.notice = NumberOf(object, "notice", 0, 9998);
    Demand(settings.notice == 0 || IsNotice(settings.notice), "notice");
    return settings;
}

Json LinkJson(const Link& link) {
    return {{"application", link.application}, {"taxpayer", link.taxpayer}, {"signature", link.signature}};
}

Link LinkOf(const Json& object) {
    Link link;
    link.application = TaxpayerOf(object, "application");
    link.taxpayer = TaxpayerOf(object, "taxpayer");
    link.signature = object.at("signature").get<std::string>();
    Demand(link.signature.empty() || IsUsableSignature(link.signature), "signature");
    return link;
}

constexpr struct {
    const char* key;
    std::string Network::*field;
} NETWORK_KEYS[] = {{"kind", &Network::kind},       {"address", &Network::address}, {"mask", &Network::mask},
                    {"gateway", &Network::gateway}, {"dns1", &Network::dns1},       {"dns2", &Network::dns2}};

Json NetworkJson(const Network& network) {
    Json object;
    for (const auto& row : NETWORK_KEYS) {
        object[row.key] = network.*row.field;
    }
    return object;
}

Network NetworkOf(const Json& object) {
    Network network;
    for (const auto& row : NETWORK_KEYS) {
        network.*row.field = object.at(row.key).get<std::string>();
        const bool kind = row.field == &Network::kind;
        Demand(kind ? IsLanKind(network.kind) : IsAddress(network.*row.field), row.key);
    }
    return network;
}

Json SaleJson(const std::optional<Receipt>& sale) {
    if (!sale.has_value()) return nullptr;
    return {{"key", sale->key},
            {"taxpayer", sale->taxpayer},
            {"total", sale->total},
            {"buyer", sale->buyer},
            {"issued", MomentText(sale->issued)}};
}

std::optional<Receipt> SaleOf(const Json& object) {
    if (object.is_null()) return std::nullopt;
    Receipt sale;
    sale.key = DigitsOf(object, "key", 44);
    sale.taxpayer = DigitsOf(object, "taxpayer", 14);
    sale.total = object.at("total").get<std::string>();
    int64_t cents = 0;
    Demand(ParseDecimal(sale.total, 2, &cents), "total");
    sale.buyer = object.at("buyer").get<std::string>();
    Demand(sale.buyer.empty() || IsPerson(sale.buyer) || IsTaxpayer(sale.buyer), "buyer");
    sale.issued = MomentOf(object, "issued");
    return sale;
}

Json SessionsJson(const std::deque<Session>& sessions) {
    Json list = Json::array();
    for (const Session& session : sessions) {
        list.push_back({{"number", session.number}, {"reply", session.reply}});
    }
    return list;
}

std::deque<Session> SessionsOf(const Json& list) {
    Demand(list.is_array(), "sessions");
    std::deque<Session> sessions;
    for (const Json& object : list) {
        sessions.push_back({DigitsOf(object, "number", 6), ReplyOf(object, "reply")});
    }
    return sessions;
}

void TakeLife(const Json& object, Device* device) {
    Demand(ParseStage(object.at("stage").get<std::string>(), &device->stage), "stage");
    device->blocked = object.at("blocked").get<bool>();
    device->ready_made = object.at("ready_made").get<bool>();
    device->certificate_awaited = object.at("certificate_awaited").get<bool>();
    device->wrong_codes = NumberOf(object, "wrong_codes", 0, MOST_WRONG_CODES);
    device->certified = MomentOf(object, "certified");
    device->update_due = MomentOf(object, "update_due");
}

void TakeReceipts(const Json& object, Device* device) {
    device->documents = NumberOf(object, "documents", 0, LAST_DOCUMENT);
    device->last_sale = SaleOf(object.at("last_sale"));
    device->last_key = object.at("last_key").get<std::string>();
    Demand(device->last_key.empty() || IsDigits(device->last_key, 44), "last_key");
    device->last_issued = MomentOf(object, "last_issued");
    device->last_fiscal_reply = ReplyOf(object, "last_fiscal_reply");
}

Device DeviceOf(const Json& object, const Device& old) {
    Device device = old;
    Demand(NumberOf(object, "format", 0, 1000000) == FORMAT, "format");
    device.settings = SettingsOf(object.at("settings"));
    TakeLife(object, &device);
    device.link = LinkOf(object.at("link"));
    device.network = NetworkOf(object.at("network"));
    TakeReceipts(object, &device);
    device.sessions = SessionsOf(object.at("sessions"));
    device.journal = object.at("journal").get<std::deque<std::string>>();
    return device;
}

}  // namespace

std::string StateText(const Device& device) {
    const Json object = {{"format", FORMAT},
                         {"settings", SettingsJson(device.settings)},
                         {"stage", StageName(device.stage)},
                         {"blocked", device.blocked},
                         {"ready_made", device.ready_made},
                         {"certificate_awaited", device.certificate_awaited},
                         {"wrong_codes", device.wrong_codes},
                         {"certified", MomentText(device.certified)},
                         {"update_due", MomentText(device.update_due)},
                         {"link", LinkJson(device.link)},
                         {"network", NetworkJson(device.network)},
                         {"documents", device.documents},
                         {"last_sale", SaleJson(device.last_sale)},
                         {"last_key", device.last_key},
                         {"last_issued", MomentText(device.last_issued)},
                         {"last_fiscal_reply", device.last_fiscal_reply},
                         {"sessions", SessionsJson(device.sessions)},
                         {"journal", device.journal}};
    return object.dump(1) + "\n";
}

std::string ReadState(std::string_view text, Device* device) {
    try {
        *device = DeviceOf(Json::parse(text), *device);
        return {};
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

std::shared_ptr<void> HoldState(const std::string& path, std::string* error) {
    std::shared_ptr<void> held = HoldFile(path, error);
    if (held == nullptr) {
        *error = "o estado em " + path + " nao pode ser reservado: " +
                 (error->empty() ? "esta em uso por outro sat-emulator" : *error);
    }
    return held;
}

std::string LoadOrCreateState(const std::string& path, Device* device) {
    std::string error;
    const std::optional<std::string> text = ReadWholeFile(path, &error);
    if (!error.empty()) return "o estado em " + path + " nao pode ser lido: " + error;
    if (!text.has_value()) return SaveState(path, *device);
    const std::string problem = ReadState(*text, device);
    if (problem.empty()) return {};
    return "o estado em " + path + " nao e valido (nada foi alterado): " + problem;
}

std::string SaveState(const std::string& path, const Device& device) {
    std::string error;
    try {
        if (ReplaceWholeFile(path, StateText(device), &error)) return {};
    } catch (const std::exception& failure) {
        error = failure.what();
    }
    return "o estado em " + path + " nao pode ser gravado: " + error;
}

}  // namespace emulator
