#!/usr/bin/env python3
"""The shortest call: asks whether the device works. Ends with 0 when it answered."""

import sys

import zantir

try:
    reply = zantir.Sat().call("ConsultarSAT", zantir.new_session())
except (OSError, zantir.ExchangeError) as error:  # not loaded, or not reached
    sys.exit(str(error))
print(reply.code, reply.message)
