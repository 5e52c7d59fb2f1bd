/*
 * Activation codes in the logs, made unreadable.
 */
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace tool {

/** What stands in a secret's place. */
constexpr const char* MASKED = "********";

/** Secrets that were seen. They are collected from all files before the first one is masked. */
using Secrets = std::set<std::string>;

/** Adds the activation codes, old and new, of every command that stands in the text. */
void CollectSecrets(std::string_view text, Secrets* secrets);

/**
 * The text with every secret replaced: in the fields of commands, in the log's lists of a command's fields,
 * and, for those of six characters or more, wherever they stand as a word.
 */
std::string WithoutSecrets(std::string_view text, const Secrets& secrets);

}  // namespace tool
