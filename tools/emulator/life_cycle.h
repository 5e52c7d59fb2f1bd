/*
 * Where a device stands in its life, and who may use it: activation, link, block, and the codes.
 *
 *   New -> (AtivarSAT) -> Activated -> (AssociarAssinatura) -> Linked, and at any time -> Deactivated
 *
 * Activated and linked devices can be blocked and unblocked by the taxpayer.
 */
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace emulator {

enum class Stage { New, Activated, Linked, Deactivated };

/** The name of a stage in a state file. */
std::string_view StageName(Stage stage);

/** The stage of that name. False for any other text. */
bool ParseStage(std::string_view name, Stage* stage);

/** Where a device starts: a stage, and whether the taxpayer has blocked it. */
struct Start {
    std::string_view name;
    Stage stage;
    bool blocked;
};

/** Every start that can be asked for. */
constexpr std::array<Start, 5> STARTS = {{{"new", Stage::New, false},
                                          {"activated", Stage::Activated, false},
                                          {"linked", Stage::Linked, false},
                                          {"blocked", Stage::Linked, true},
                                          {"deactivated", Stage::Deactivated, false}}};

/** Where a running device can be moved beside STARTS: out of the taxpayer's block. */
constexpr std::string_view UNBLOCKED = "unblocked";

/** The application that may sell: what AssociarAssinatura named. All empty lets any application sell. */
struct Link {
    std::string application;  ///< CNPJ of its maker
    std::string taxpayer;     ///< CNPJ of the seller
    std::string signature;
};

/** So many wrong codes in a row lock the device. */
constexpr int MOST_WRONG_CODES = 6;

/** True for a text that can be an activation code: 1 to 32 printable characters without blank and "|". */
bool IsUsableCode(std::string_view code);

/** True for Base64 of at most 344 characters, the length of a signature of 2048 bits. */
bool IsUsableSignature(std::string_view text);

/** True for the IBGE code of a state, two digits. */
bool IsState(std::string_view code);

}  // namespace emulator
