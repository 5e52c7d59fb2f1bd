#include "library_fixture.h"

class Exchange : public Library {};

TEST_F(Exchange, ASaleReturnsTheDevicesReply) {
    sim::HonestDevice device([](const std::string&) { return "000042|06000|0000|Emitido|||x|y|z|1|2|3"; });
    AttachDevice(&device);
    EXPECT_STREQ(EnviarDadosVenda(42, "12345678", "<CFe/>"), "000042|06000|0000|Emitido|||x|y|z|1|2|3");
    EXPECT_EQ(device.last_command, "EnviarDadosVenda|000042|12345678|<CFe/>");
    EXPECT_EQ(World().ports.OpenCount(), 0U);
    EXPECT_EQ(World().mutexes.Owner("Global My shared memory mutex"), 0U);
}
