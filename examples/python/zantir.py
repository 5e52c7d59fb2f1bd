"""A SAT fiscal device through ZANTIR64.dll or libzantir64.so: load, call, read the reply."""

import base64
import ctypes
import os
import random
import sys
import threading

_NAME = "ZANTIR64.dll" if sys.platform == "win32" else "libzantir64.so"
_INT, _TEXT = ctypes.c_int, ctypes.c_char_p

# The arguments behind numeroSessao.
_FUNCTIONS = {
    "AtivarSAT": (_INT, _TEXT, _TEXT, _INT),
    "ComunicarCertificadoICPBRASIL": (_TEXT, _TEXT),
    "EnviarDadosVenda": (_TEXT, _TEXT),
    "CancelarUltimaVenda": (_TEXT, _TEXT, _TEXT),
    "ConsultarSAT": (),
    "TesteFimAFim": (_TEXT, _TEXT),
    "ConsultarStatusOperacional": (_TEXT,),
    "ConsultarNumeroSessao": (_TEXT, _INT),
    "ConfigurarInterfaceDeRede": (_TEXT, _TEXT),
    "AssociarAssinatura": (_TEXT, _TEXT, _TEXT),
    "AtualizarSoftwareSAT": (_TEXT,),
    "ExtrairLogs": (_TEXT,),
    "BloquearSAT": (_TEXT,),
    "DesbloquearSAT": (_TEXT,),
    "TrocarCodigoDeAtivacao": (_TEXT, _INT, _TEXT, _TEXT),
    "ConsultarUltimaSessaoFiscal": (_TEXT,),
}


class ExchangeError(Exception):
    """The device was not reached, or did not answer: the library's own text."""

    @property
    def device_may_have_acted(self):
        """The command went out, or may have: ask for its session before sending it again."""
        return "L[2114]" in str(self) or "L[2127]" in str(self)


def decode(data):
    """Most devices send UTF-8, some Latin-1; in Latin-1 every byte is a character."""
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return data.decode("latin-1")


class Reply:
    """A device's reply, cut at its "|"."""

    def __init__(self, data):
        self.fields = [decode(field) for field in data.split(b"|")]
        self.session = self.fields[0]
        self.code = self.fields[1] if len(self.fields) > 1 else ""

    @property
    def busy(self):
        return self.code.endswith("098")

    @property
    def message(self):
        """The device's message; replies to sales and cancellations have an alert in front of it."""
        place = 3 if self.code[:2] in ("06", "07") else 2
        return self.fields[place] if len(self.fields) > place else ""


class Sat:
    """The library. One object a process; its calls may come from any thread."""

    def __init__(self, path=None):
        self._library = ctypes.CDLL(path or os.environ.get("ZANTIR_LIB") or _NAME)
        # All functions share one buffer: one call at a time, and its text copied before the next.
        self._lock = threading.Lock()
        for name, arguments in _FUNCTIONS.items():
            function = getattr(self._library, name)
            function.argtypes = (_INT, *arguments)
            function.restype = ctypes.c_char_p  # a copy of the text as bytes

    def call(self, name, session, *arguments):
        """The reply to one command. Texts go to the device as UTF-8. Raises ExchangeError."""
        raw = [a.encode("utf-8") if isinstance(a, str) else a for a in arguments]
        with self._lock:
            data = getattr(self._library, name)(session, *raw)
        if data.startswith(b"SAT Erro[") or data.startswith(b"\x02"):
            raise ExchangeError(decode(data))
        return Reply(data)


def new_session():
    return random.randrange(1, 1000000)


def receipt_xml(reply):
    """The XML of the receipt that a sale or cancellation brought."""
    return base64.b64decode(reply.fields[6])
