/*
 * The utility library: diagnostic log, INI files, file helpers, taxpayer numbers and Base64.
 */
#pragma once

#include "base64.h"
#include "files.h"
#include "ini_file.h"
#include "log.h"
#include "taxpayer_id.h"
#include "text.h"
