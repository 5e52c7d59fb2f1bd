#include "network.h"

#include "device_fixture.h"

namespace emulator {

using NetworkTest = DeviceTest;

TEST_F(NetworkTest, EverySettingComesBackInTheStatus) {
    ExpectBase(
        "ConfigurarInterfaceDeRede|000001|12345678|<config><tipoInter>ETHE</tipoInter><tipoLan>IPFIX</tipoLan>"
        "<lanIP>10.0.0.2</lanIP><lanMask>255.0.0.0</lanMask><lanGW>10.0.0.1</lanGW><lanDNS1>8.8.8.8</lanDNS1>"
        "<lanDNS2>9.9.9.9</lanDNS2><proxy>0</proxy></config>",
        "12000", "Rede Configurada com Sucesso");
    const auto status = Ask("ConsultarStatusOperacional|000002|12345678");
    const std::vector<std::string> told(status.begin() + 6, status.begin() + 13);
    EXPECT_THAT(told, testing::ElementsAre("IPFIX", "10.0.0.2", "02:00:00:00:00:59", "255.0.0.0", "10.0.0.1",
                                           "8.8.8.8", "9.9.9.9"));
}

TEST_F(NetworkTest, FixedAddressesEndWithIpfix) {
    const auto before = Ask("ConsultarStatusOperacional|000001|12345678");
    EXPECT_EQ(
        CodeOf(
            "ConfigurarInterfaceDeRede|000002|12345678|<config><tipoLan>IPFIX</tipoLan><lanIP>10.0.0.2</lanIP>"
            "<lanMask>255.0.0.0</lanMask><lanGW>10.0.0.1</lanGW><lanDNS1>8.8.8.8</lanDNS1></config>"),
        "12000");
    EXPECT_EQ(Ask("ConsultarStatusOperacional|000003|12345678")[7], "10.0.0.2");
    EXPECT_EQ(
        CodeOf(
            "ConfigurarInterfaceDeRede|000004|12345678|<config><tipoLan>DHCP</tipoLan><lanIP>10.0.0.3</lanIP></config>"),
        "12000");
    const auto after = Ask("ConsultarStatusOperacional|000001|12345678");
    EXPECT_EQ(std::vector<std::string>(after.begin() + 6, after.begin() + 13),
              std::vector<std::string>(before.begin() + 6, before.begin() + 13));
}

TEST_F(NetworkTest, WrongSettingsAreNamedAndChangeNothing) {
    const struct {
        const char* settings;
        const char* reason;
    } rows[] = {
        {"", "XML malformado"},
        {"<other/>", "config ausente"},
        {"<config></config>", "config: esperado ao menos uma configuracao, encontrado vazio"},
        {"<config><tipoLan>DHCP</tipoLan><tipoLan>IPFIX</tipoLan></config>", "tipoLan repetido"},
        {"<config><tipoLan>fixo</tipoLan></config>",
         "tipoLan: esperado DHCP ou PPPoE ou IPFIX, encontrado fixo"},
        {"<config><tipoInter>X</tipoInter></config>", "tipoInter: esperado ETHE ou WIFI, encontrado X"},
        {"<config><seg>WPA</seg></config>",
         "seg: esperado NONE ou WEP ou WPA-PERSONAL ou WPA-ENTERPRISE, encontrado WPA"},
        {"<config><proxy>3</proxy></config>", "proxy: esperado 0 ou 1 ou 2, encontrado 3"},
        {"<config><lanDNS2>9.9.9.9</lanDNS2><lanIP>a|b</lanIP></config>",
         "lanIP: esperado um endereco como 192.168.0.1, encontrado a?b"},
        {"<config><tipoLan>IPFIX</tipoLan><lanIP>10.0.0.2</lanIP><lanGW>10.0.0.1</lanGW></config>",
         "lanMask ausente"},
        {"<config><tipoLan>PPPoE</tipoLan><usuario>u</usuario></config>", "senha ausente"},
        {"<config><tipoInter>WIFI</tipoInter></config>", "SSID ausente"},
    };
    for (const auto& row : rows) {
        const std::string message = std::string("Dados fora do padrao a ser informado: ") + row.reason;
        ExpectBase(std::string("ConfigurarInterfaceDeRede|000001|12345678|") + row.settings, "12002",
                   message.c_str());
    }
    const auto broken = Ask("ConfigurarInterfaceDeRede|000001|12345678|<config>");
    EXPECT_EQ(broken[1], "12002");
    EXPECT_THAT(broken[2], testing::HasSubstr("XML malformado: linha 1: "));
    const auto status = Ask("ConsultarStatusOperacional|000001|12345678");
    EXPECT_EQ(status[6], "DHCP");
    EXPECT_EQ(status[12], "0.0.0.0");
}

TEST(Address, FourNumbersUpTo255) {
    for (const char* text : {"0.0.0.0", "255.255.255.255", "10.20.30.40", "010.1.1.1"}) {
        EXPECT_TRUE(IsAddress(text)) << text;
    }
    for (const char* text : {"", "1.2.3", "1.2.3.4.5", "1.2.3.", ".1.2.3", "1..2.3", "256.1.1.1", "1.1.1.256",
                             "1.1.1.1000", "a.b.c.d", " 1.1.1.1", "1.1.1.1 ", "1.1.1.-1"}) {
        EXPECT_FALSE(IsAddress(text)) << text;
    }
}

}  // namespace emulator
