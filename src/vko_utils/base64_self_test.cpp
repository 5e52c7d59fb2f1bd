#include <cstdio>
#include <cstring>

#include "base64.h"
#include "log.h"
#include "utils_source.h"

namespace {

/** Logs a line in the self-test's name and prints it. */
void Tell(unsigned level, const char* line) {
    if (VKO_LogEnabled(level)) {
        VKO_LogWrite(gl_pLogBaseName, level, "[%04d] [%s] [%s]%s\n", __LINE__, VKO_UTILS_SOURCE,
                     "VKO_Base64_Test01", line);
    }
    plat_print(line);
    plat_print("\n");
}

void TellText(const char* name, const char* text, const char* verdict) {
    char line[128];
    snprintf(line, sizeof line, "%s[%03d:%s]%s", name, static_cast<int>(strlen(text)), text, verdict);
    Tell(VKO_LOG_INF, line);
}

/** Whether a step went well; tells its code when not. */
bool Passed(int32_t rc, const char* verdict) {
    if (rc >= 0) return true;
    char line[32];
    snprintf(line, sizeof line, "rc[%05d]%s", rc, verdict);
    Tell(VKO_LOG_ERR, line);
    return false;
}

}  // namespace

int32_t VKO_Base64_Test01() {
    static constexpr char clear[] = "Testando Base64 Encoding";
    TellText("ClearDataIn", clear, "");
    char encoded[40] = {};
    uint64_t encoded_length = {};
    const auto rc_encode =
        static_cast<int32_t>(VKO_Base64Encoder(clear, sizeof clear - 1, encoded, &encoded_length));
    if (!Passed(rc_encode, "ER")) return rc_encode;
    TellText("Base64DataOut", encoded, "");
    char decoded[40] = {};
    uint64_t decoded_length = {};
    const int32_t rc_decode = VKO_Base64Decoder(encoded, encoded_length, decoded, &decoded_length);
    if (!Passed(rc_decode, "ER:")) return rc_decode;
    TellText("ClearDataOut", decoded, strcmp(decoded, clear) == 0 ? "MATCH" : "MISMATCH");
    return rc_decode;
}
