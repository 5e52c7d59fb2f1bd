#!/usr/bin/env python3
"""A complete sale: venda.py VENDA.xml [CODIGO]. Ends with 0 sold, 1 refused, 2 device not reached, 3 not loaded."""

import sys
import time

import zantir

BUSY_TRIES = 5


def call_when_free(sat, name, session, *arguments):
    """A device that is busy says so with a code that ends in 098, and is asked again."""
    for _ in range(BUSY_TRIES - 1):
        reply = sat.call(name, session, *arguments)
        if not reply.busy:
            return reply
        print(f"Equipamento ocupado ({reply.code}), nova tentativa")
        time.sleep(0.5)
    return sat.call(name, session, *arguments)


def sell(sat, code, xml):
    """The reply to the sale; when it is lost on the way, what the device stored under its session number."""
    session = zantir.new_session()
    try:
        return call_when_free(sat, "EnviarDadosVenda", session, code, xml)
    except zantir.ExchangeError as error:
        if not error.device_may_have_acted:
            raise
        print(f"Resposta perdida, consultando a sessao: {error}")
    stored = call_when_free(sat, "ConsultarNumeroSessao", zantir.new_session(), code, session)
    if stored.code != "11003":  # the device knows the session: this is its reply
        return stored
    print("A venda nao chegou ao equipamento, enviando outra vez")
    return call_when_free(sat, "EnviarDadosVenda", zantir.new_session(), code, xml)


def main():
    if len(sys.argv) < 2:
        print(__doc__, file=sys.stderr)
        return 3
    code = sys.argv[2] if len(sys.argv) > 2 else "12345678"
    with open(sys.argv[1], "rb") as file:
        xml = file.read()
    try:
        sat = zantir.Sat()
    except OSError as error:
        print(f"A biblioteca nao foi carregada: {error}", file=sys.stderr)
        return 3
    try:
        state = call_when_free(sat, "ConsultarSAT", zantir.new_session())
        print(f"ConsultarSAT: {state.code} {state.message}")
        sale = sell(sat, code, xml)
    except zantir.ExchangeError as error:
        print(f"Sem comunicacao: {error}")
        return 2
    print(f"Venda: {sale.code} {sale.message}")
    if sale.code != "06000":
        return 1
    print(f"Chave: {sale.fields[8]}")
    print(f"Total: {sale.fields[9]}")
    print(f"Cupom: {len(zantir.receipt_xml(sale))} bytes")
    return 0


if __name__ == "__main__":
    sys.exit(main())
