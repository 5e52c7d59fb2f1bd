"""SAT.ini as the tests write it."""

COMMANDS = ["AtivarSAT", "ComunicarCertificadoICPBRASIL", "EnviarDadosVenda", "CancelarUltimaVenda", "ConsultarSAT",
            "TesteFimAFim", "ConsultarStatusOperacional", "ConsultarNumeroSessao", "ConfigurarInterfaceDeRede",
            "AssociarAssinatura", "AtualizarSoftwareSAT", "ExtrairLogs", "BloquearSAT", "DesbloquearSAT",
            "TrocarCodigoDeAtivacao", "ConsultarUltimaSessaoFiscal"]

TIMEOUTS = dict(zip(COMMANDS, [1800, 300, 30, 30, 10, 20, 10, 20, 20, 1800, 1800, 30, 300, 20, 30, 20]))


def compose(emulator_port=None, fixed_port=None, timeouts=None, log_mode=1, log_path="Log", receipts=None):
    """The text of a SAT.ini with every key. `emulator_port` switches the emulator on, even with an empty name;
    `receipts` is the folder of the result files, empty for the standard one."""
    seconds = {**TIMEOUTS, **(timeouts or {})}
    lines = ["[SERIAL_PORT_CONFIG]"]
    if fixed_port is not None:
        lines.append(f"FixarPorta={fixed_port}")
    lines += ["SerialPortConfig=115200,8,N,1", "ReadIntervalTimeout=10", "ReadTotalTimeoutMultiplier=1",
              "ReadTotalTimeoutConstant=1", "WriteTotalTimeoutMultiplier=1", "WriteTotalTimeoutConstant=1000"]
    lines += ["[SAT_TIMEOUT]", *(f"{command}={seconds[command]}" for command in COMMANDS)]
    lines += ["[SAT_EMULATOR]", f"SerialPortWindows={emulator_port or ''}", "SerialPortLinux=/dev/ttyVSP0",
              f"Enable={0 if emulator_port is None else 1}"]
    lines += ["[CUPOM_DESK]", f"PathWindows={receipts or ''}", "PathLinux=/etc/CupomDesk/Cupons/New",
              f"Enable={0 if receipts is None else 1}"]
    lines += ["[LOG]", f"LogFilePath={log_path}", "LogFileName=SAT_api.log", "LogFileMaxSize=1300000",
              f"LogMode={log_mode}"]
    return "\n".join(lines) + "\n"
