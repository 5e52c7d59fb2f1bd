/*
 * The command engine and the serial link: chief header of this floor. Programs that only call the library
 * include the public header instead.
 */
#pragma once

#include "../../include/zantir.h"
#include "../vko_sat_utils/vko_sat_utils.h"
#include "../vko_utils/vko_utils.h"
#include "api_log.h"
#include "buffers.h"
#include "busy_reply.h"
#include "command_table.h"
#include "config.h"
#include "discovery.h"
#include "exchange.h"
#include "exchange_errors.h"
#include "exports.h"
#include "link.h"
#include "link_clock.h"
#include "link_errors.h"
#include "log_folder.h"
#include "log_periodic.h"
#include "port.h"
#include "protocol_log.h"
#include "result_file.h"
#include "startup.h"
#include "state.h"
