/* Everything of the packet codec and the fiscal tables. */
#pragma once

#include "packet.h"
