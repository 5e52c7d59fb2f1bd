/* The name under which this module's messages stand in the log. */
#pragma once

/** One fixed name for the whole module, whatever file a message comes from. */
constexpr const char* SAT_UTILS_SOURCE = "../src/vko_sat_utils/vko_sat_utils";
