/*
 * What the command line asked for.
 */
#pragma once

#include <string>
#include <vector>

namespace tool {

/** The options that all commands share, and the arguments of each. */
struct Options {
    std::string library;  ///< --dll
    std::string language = "pt";
    std::string colour = "auto";
    bool json = false;
    bool unmasked = false;
    std::string activation_code;
    int session = 0;  ///< 0 for a random one
    std::string save_folder;
    int limit_s = 0;  ///< 0 for the longest call

    std::string file;                 ///< vender
    std::vector<std::string> cancel;  ///< cancelar: key, file, or both
    std::string sale_file;            ///< cancelar --venda
    int asked_session = 0;            ///< sessao
    std::string function;             ///< chamar
    std::vector<std::string> arguments;
    std::string code;    ///< codigo
    std::string number;  ///< cnpj, cpf, uf
    std::string day;     ///< log
    std::string log_folder;
    std::string html_file;
    std::string shell;  ///< completar
};

}  // namespace tool
