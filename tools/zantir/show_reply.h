/*
 * A reply on the screen, and its files on the disk.
 */
#pragma once

#include <string>
#include <vector>

#include "reply.h"
#include "screen.h"

namespace tool {

/** The reply for people: verdict, reason, remedy, then field by field. */
void ShowReply(const Reply& reply);

/** The reply for programs. */
Json ReplyJson(const Reply& reply);

/** The exit code that a reply means. */
int ExitCodeOf(const Reply& reply);

/** A file that a reply carries. */
struct ReplyFile {
    std::string name;
    std::string bytes;
};

/** The files that a reply carries: the XML of a receipt, the device's logs, a certificate request. */
std::vector<ReplyFile> FilesOf(const Reply& reply);

}  // namespace tool
