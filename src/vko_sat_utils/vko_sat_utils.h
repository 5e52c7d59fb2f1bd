/* Everything of the packet codec and the fiscal tables. */
#pragma once

#include "ibge.h"
#include "packet.h"
#include "packet_parsers.h"
#include "random_session.h"
#include "return_codes.h"
