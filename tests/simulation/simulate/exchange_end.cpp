/*
 * How an exchange may end, and what the caller finds in the buffer then.
 */
#include <cstdio>
#include <cstring>

#include "broken.h"
#include "exchange_judge.h"
#include "sim_devices.h"

namespace simulate {

namespace {

struct OutcomeRow {
    const char* name;
    const char* message;  ///< of its error text; nullptr where there is none
    int line;
};

constexpr OutcomeRow kOutcomes[] = {
    {"lock not made (L1975)", "Falha ao Durante Lock do SAT", 1975},
    {"lock not obtained (L1986)", "Falha ao Durante Lock do SAT", 1986},
    {"no device (L2013)", "SAT Nao encontrado!!!", 2013},
    {"no COM in the name (L2052)", "Erro de Comunicacao com SAT", 2052},
    {"no port number (L2063)", "Erro de Comunicacao com SAT", 2063},
    {"not opened (L2075)", "Erro de Comunicacao com SAT", 2075},
    {"not configured (L2087)", "Falha ao Configurar Porta de Comunicacao com SAT", 2087},
    {"not sent on COM1 (L2110)", "SAT Nao Encontrado", 2110},
    {"not sent (L2114)", "Falha ao enviar Comando ao SAT", 2114},
    {"not received (L2127)", "Falha ao receber resposta do  SAT", 2127},
    {"command too long (L0000)", "Comando excede o tamanho maximo", 0},
    {"lock kept, no text", nullptr, 0},
    {"version", nullptr, 0},
    {"reply", nullptr, 0},
    {"process ended", nullptr, 0},
};
static_assert(std::size(kOutcomes) == static_cast<size_t>(Outcome::Count));

Outcome EarlyOutcomeOf(Route::Kind kind) {
    switch (kind) {
        case Route::Kind::NoCom:
            return Outcome::NoCom;
        case Route::Kind::NoNumber:
            return Outcome::NoNumber;
        default:
            return Outcome::NoDevice;
    }
}

int EarlyResultOf(Outcome outcome) {
    if (outcome == Outcome::NoCom) return -2002;
    return outcome == Outcome::NoNumber ? -2003 : -1000;
}

}  // namespace

const char* OutcomeName(Outcome outcome) {
    return kOutcomes[static_cast<size_t>(outcome)].name;
}

std::string ExchangeJudge::ErrorText(Outcome outcome) const {
    const OutcomeRow& row = kOutcomes[static_cast<size_t>(outcome)];
    std::string message = row.message;
    if (outcome == Outcome::NotSent) message += "[\\\\?\\" + route_.name + "]";
    char text[512];
    snprintf(text, sizeof text, "SAT Erro[%06d]Win %s L[%04d] F[%s] ", result_, message.c_str(), row.line,
             outcome == Outcome::TooLong ? name_ : "Communicate");
    return text;
}

/** The exchange gave up without a port: for the reason that the machine gave, or, when a call failed before,
 * for one of those that there are. */
Outcome ExchangeJudge::EarlyOutcome(const char* text) {
    if (sure_ && (route_.kind == Route::Kind::Open || route_.kind == Route::Kind::KeepsLock))
        Break("no port is opened although \"%s\" is there", route_.name.c_str());
    const Outcome right = EarlyOutcomeOf(route_.kind);
    for (const Outcome outcome : {right, Outcome::NoDevice, Outcome::NoCom, Outcome::NoNumber}) {
        result_ = EarlyResultOf(outcome);
        if (sure_ || ErrorText(outcome) == text) return outcome;
    }
    Break("no such error text: %s", Shown(text).c_str());
}

void ExchangeJudge::MakeImage(Outcome outcome) {
    image_.clear();
    if (outcome == Outcome::Version) {
        image_ = "ZANTIR DLL Ver. 02.00";
        return;
    }
    if (outcome == Outcome::Reply) {
        image_ = link_.Reply();
        return;
    }
    // The error text stands over what was in the buffer then: the command, the frame that was to be sent, or
    // nothing where the reply was awaited.
    const bool linked = outcome == Outcome::NotSent || outcome == Outcome::NotSentOnCom1;
    if (linked) {
        image_ = link_.Frame();
    } else if (outcome != Outcome::NotReceived && outcome != Outcome::TooLong) {
        image_ = sim::kStx + text_ + sim::kEtx;
    }
    if (outcome == Outcome::KeptLock) return;
    const std::string error = ErrorText(outcome);
    image_.replace(0, error.size() + 1, error.c_str(), error.size() + 1);
}

Outcome ExchangeJudge::JudgeEnd(const char* text) {
    Outcome outcome = outcome_;
    if (step_ == Step::Entry) {
        if (!text_.empty() && outcome != Outcome::TooLong)
            Break("the command was not sent and nothing says why");
        if (outcome == Outcome::TooLong) result_ = -1;
    } else if (step_ == Step::Discovery) {
        if (sure_ && route_.kind != Route::Kind::KeepsLock) Unexpected("the call ended");
        outcome = Outcome::KeptLock;
    } else if (step_ != Step::Over) {
        Unexpected("the call ended");
    } else if (early_) {
        outcome = EarlyOutcome(text);
    }
    locked_ = false;
    MakeImage(outcome);
    return outcome;
}

}  // namespace simulate
