/*
 * A device, its clock, and the callers' usual commands.
 */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "demo_texts.h"
#include "device.h"
#include "fiscal_key.h"
#include "sample.h"

namespace emulator {

struct DeviceTest : testing::Test {
    Device device = NewDevice({}, 59);
    LocalTime now = MORNING;
    int last_session = 0;

    std::vector<std::string> Ask(const std::string& command) { return Fields(Answer(device, command, now)); }

    /** The return code of a command. */
    std::string CodeOf(const std::string& command) { return Ask(command)[1]; }

    /** BASE of a command that has nothing else to say. */
    void ExpectBase(const std::string& command, const char* code, const char* message,
                    const char* session = "000001") {
        const std::vector<std::string> expected = {session, code, message, "", ""};
        EXPECT_EQ(Ask(command), expected) << command;
    }

    /** 000001 at the first call, and never a number twice. */
    std::string NextSession() { return Padded(++last_session, 6); }

    std::vector<std::string> Sell(const std::string& sale = DEMO_SALE, const std::string& code = "12345678") {
        return Ask("EnviarDadosVenda|" + NextSession() + "|" + code + "|" + sale);
    }

    std::vector<std::string> Cancel(const std::string& key) {
        return Ask("CancelarUltimaVenda|" + NextSession() + "|12345678|" + key + "|" +
                   Replaced(DEMO_CANCELLATION, "@CHAVE@", key));
    }
};

}  // namespace emulator
