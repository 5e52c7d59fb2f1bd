#include "fault_table.h"

namespace emulator {

namespace {

// The parameters of a row on one line: "block=1 (bloco do comando), times=1 (quantas vezes)".
std::string ParametersText(const FaultRow& row) {
    std::string text;
    for (const FaultParameter& parameter : row.parameters) {
        text += text.empty() ? "" : ", ";
        text += parameter.name;
        if (parameter.usual != NEXT_SESSION) text += "=" + std::to_string(parameter.usual);
        text += " (" + std::string(parameter.help) + ")";
    }
    return row.renames ? text + ", as=NOME" : text;
}

}  // namespace

std::string FaultHelp() {
    constexpr size_t column = 16;
    std::string text =
        "Falhas, com os parametros e os seus valores usuais. Os bytes da resposta sao contados a partir do STX.\n"
        "Uma falha age uma vez, ou times vezes: as do comando e do texto uma vez por comando, as da resposta uma\n"
        "vez por envio, porque o NAK de quem chama pede a resposta de novo. O que restar fica para o proximo\n"
        "comando. \"a+b\" arma duas para o mesmo comando; \"ok\", nenhuma.\n";
    for (const FaultRow& row : FaultTable()) {
        std::string name = "  " + std::string(row.name);
        name.resize(std::max(column, name.size() + 1), ' ');
        text += name + std::string(row.help) + "\n";
        text += std::string(column, ' ') + ParametersText(row) + "\n";
    }
    return text;
}

}  // namespace emulator
