#include "plan.h"

namespace simulate {

namespace {

/** How long the device's answer is. Large ones are rare, for each costs as much as a thousand others. */
size_t DrawReplySize(Draw& draw) {
    if (draw.OneIn(200'000)) return kLongestFrame - 3 - draw.Below(draw.OneIn(2) ? 2 : 100);
    if (draw.OneIn(8'000)) return static_cast<size_t>(draw.Between(100'000, 1'000'000));
    if (draw.OneIn(40)) return DrawFrameSize(draw) - 3;
    if (draw.OneIn(40)) return draw.Below(3);
    return static_cast<size_t>(draw.Between(0, draw.OneIn(4) ? 1500 : 150));
}

void DrawReply(Draw& draw, Plan* plan) {
    static constexpr const char* kMessages[] = {"Emitido com sucesso + conteudo notas", "SAT em operacao",
                                                "Erro na validacao do conteudo",
                                                "Cupom cancelado com sucesso"};
    std::string& reply = plan->reply;
    reply = std::to_string(Reduced(plan->request.session));
    reply += '|';
    reply += std::to_string(draw.Between(4000, 19'099));
    reply += '|';
    reply += draw.Of(kMessages);
    reply += "|||";
    const size_t size = DrawReplySize(draw);
    if (size < 3) {
        reply.resize(size);
    } else {
        if (size > reply.size()) AppendWords(draw, size - reply.size(), &reply);
    }
}

}  // namespace

void DrawPlan(Draw& draw, Plan* plan) {
    *plan = Plan();
    DrawRequest(draw, &plan->request);
    if (plan->request.command != kVersion) DrawReply(draw, plan);
    plan->pause_us = draw.OneIn(3) ? 0 : draw.Between(0, 400'000);
    plan->reply_delay_us = draw.OneIn(20) ? draw.Between(0, 900'000) : draw.Between(0, 20'000);
    static constexpr Presence kUsual[] = {Presence::Usual, Presence::Usual,  Presence::Usual,
                                          Presence::Alone, Presence::Second, Presence::LowerCase};
    plan->presence = draw.Of(kUsual);
    plan->new_port = draw.OneIn(40);
    if (draw.OneIn(2)) return;
    AddFault(draw, DrawFault(draw), plan);
    if (draw.OneIn(6)) AddFault(draw, DrawFault(draw), plan);
}

}  // namespace simulate
