/* The name under which this module's messages stand in the log. */
#pragma once

/** One fixed name for the whole module, whatever file a message comes from. */
constexpr const char* VKO_UTILS_SOURCE = "../src/vko_utils/vko_utils";
