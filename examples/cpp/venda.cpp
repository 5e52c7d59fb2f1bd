/*
 * A complete sale: venda VENDA.xml [CODIGO]. Ends with 0 sold, 1 refused, 2 device not reached, 3 not loaded.
 */
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <thread>

#include "zantir.hpp"

namespace {

constexpr int kBusyTries = 5;

/** A device that is busy says so with a code that ends in 098, and is asked again. */
zantir::Reply WhenFree(const std::function<zantir::Reply()>& call) {
    for (int tries = 1;; ++tries) {
        zantir::Reply reply = call();
        if (!reply.Busy() || tries == kBusyTries) return reply;
        std::cout << "Equipamento ocupado (" << reply.Code() << "), nova tentativa\n";
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
}

/** The reply to the sale; when it is lost on the way, what the device stored under its session number. */
zantir::Reply Sell(zantir::Sat& sat, const std::string& code, const std::string& xml) {
    const auto send = [&](int session) {
        return WhenFree(
            [&] { return ZANTIR_CALL_BY_NAME(sat, EnviarDadosVenda, session, code.c_str(), xml.c_str()); });
    };
    const int session = zantir::NewSession();
    try {
        return send(session);
    } catch (const zantir::ExchangeError& error) {
        if (!error.DeviceMayHaveActed()) throw;
        std::cout << "Resposta perdida, consultando a sessao: " << error.what() << '\n';
    }
    zantir::Reply stored = WhenFree([&] {
        return ZANTIR_CALL_BY_NAME(sat, ConsultarNumeroSessao, zantir::NewSession(), code.c_str(), session);
    });
    if (stored.Code() != "11003") return stored;  // the device knows the session: this is its reply
    std::cout << "A venda nao chegou ao equipamento, enviando outra vez\n";
    return send(zantir::NewSession());
}

int Run(const std::string& code, const std::string& xml) {
    zantir::Sat sat(std::getenv("ZANTIR_LIB"));
    const zantir::Reply state =
        WhenFree([&] { return ZANTIR_CALL_BY_NAME(sat, ConsultarSAT, zantir::NewSession()); });
    std::cout << "ConsultarSAT: " << state.Code() << ' ' << state.Message() << '\n';
    const zantir::Reply sale = Sell(sat, code, xml);
    std::cout << "Venda: " << sale.Code() << ' ' << sale.Message() << '\n';
    if (sale.Code() != "06000") return 1;
    std::cout << "Chave: " << sale.Field(8) << "\nTotal: " << sale.Field(9)
              << "\nCupom: " << zantir::Base64Size(sale.Field(6)) << " bytes\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::ifstream file(argc > 1 ? argv[1] : "", std::ios::binary);
    if (!file) {
        std::cerr << "venda VENDA.xml [CODIGO]\n";
        return 3;
    }
    std::ostringstream xml;
    xml << file.rdbuf();
    try {
        return Run(argc > 2 ? argv[2] : "12345678", xml.str());
    } catch (const zantir::ExchangeError& error) {
        std::cout << "Sem comunicacao: " << error.what() << '\n';
        return 2;
    } catch (const zantir::NotLoaded& error) {
        std::cerr << "A biblioteca nao foi carregada: " << error.what() << '\n';
        return 3;
    }
}
