"""zantir, the technician's tool, over a line: against a scripted device, which says what a test needs."""
import fcntl
import os
import pty
import select
import signal
import subprocess
import threading
import unittest

from cases import DeviceCase, FolderCase, setUpModule  # noqa: F401
from program import LINUX, run, run_json, start
import waiting

CODE = "12345678"
KEY = "CFe35261111222333000181590001234560000012436775"
SALE = (f"%b|06000|0000|Emitido com sucesso + conteudo notas|||Q0ZlPg==|20261120155407|{KEY}|140.06|52998224725|cXI=")
SHOWN_SALE = b"<CFe><xProd>Caf\xe9</xProd></CFe>"


class ToolCase(DeviceCase):
    """The device answers in a thread while the tool runs."""

    @classmethod
    def begin(cls):
        cls.plug_in()
        cls.configure()

    def setUp(self):
        self.commands = []

    def answer(self, *replies):
        """Answers one command with each of these texts; %b stands for the session of the command."""

        def serve():
            for reply in replies:
                received = self.device.receive_short(waiting.SOON * 4)
                self.commands.append(received)
                self.device.ack()
                self.device.reply(reply.replace(b"%b", received.split(b"|")[1][:6]))

        self.server = threading.Thread(target=serve)
        self.server.start()
        self.addCleanup(self.server.join)

    def ask(self, reply, *arguments, given=None):
        """One run of the tool that makes one call."""
        self.answer(reply)
        document, code = run_json(self.folder, *arguments, given=given)
        self.server.join()
        return document, code

    def field(self, document, name):
        return next(field["valor"] for field in document["campos"] if field["nome"] == name)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)


class ExchangeTest(ToolCase):
    def test_consultation(self):
        document, code = self.ask(b"%b|08000|SAT em operacao||", "consultar", "--numero-sessao", "77")
        self.assertEqual(0, code)
        self.assertEqual("aceito", document["resultado"])
        self.assertEqual("000077", self.field(document, "numeroSessao"))
        self.assertEqual(b"\x02ConsultarSAT|000077", self.commands[0][:20])

    def test_sessions_are_drawn_at_random(self):
        sessions = {self.ask(b"%b|08000|x||", "consultar")[0]["sessao"] for _ in range(3)}
        self.assertGreater(len(sessions), 1)

    def test_refusal_says_why_and_has_its_exit_code(self):
        self.answer(b"%b|10001|Codigo de Ativacao Invalido||")
        result = run(self.folder, "status", "--codigo", "1")
        self.assertEqual(4, result.returncode)
        shown = result.stdout.decode("utf-8")
        self.assertIn("RECUSADO 10001 Codigo de Ativacao Invalido", shown)
        self.assertIn("Confira o código de ativação", shown)

    def test_latin_1_of_a_device_is_shown_right_and_breaks_no_json(self):
        document, _ = self.ask(b"%b|08000|Opera\xe7\xe3o \x07normal||", "consultar")
        self.assertEqual("Operação \x07normal", self.field(document, "mensagem"))
        self.answer(b"%b|08000|Opera\xe7\xe3o \x1b[31m||")
        shown = run(self.folder, "consultar", "--cores", "nunca").stdout
        self.assertIn("Operação".encode(), shown)
        self.assertNotIn(b"\x1b", shown)

    def test_sale_goes_out_byte_for_byte_and_its_xml_is_saved(self):
        self.write("sale.xml", SHOWN_SALE)
        document, code = self.ask(SALE.encode(), "vender", "sale.xml", "--codigo", CODE, "--salvar", ".")
        self.assertEqual(0, code, document)
        self.assertIn(b"|12345678|" + SHOWN_SALE, self.commands[0])
        with open(self.path(KEY + ".xml"), "rb") as saved:
            self.assertEqual(b"CFe>", saved.read())
        self.assertEqual(1, len(document["arquivos"]))

    def test_sale_from_standard_input(self):
        self.ask(SALE.encode(), "vender", "-", "--codigo", CODE, given=SHOWN_SALE)
        self.assertIn(SHOWN_SALE, self.commands[0])

    def test_cancellation_by_key(self):
        self.ask(SALE.replace("06000", "07000").encode(), "cancelar", KEY[3:], "--codigo", CODE)
        self.assertIn(b"|12345678|" + KEY.encode() + b"|<CFeCanc>", self.commands[0])

    def test_any_function_with_its_arguments(self):
        self.ask(b"%b|04000|SAT Ativado Corretamente||", "chamar", "AtivarSAT", "2", CODE, "11222333000181", "35")
        self.assertIn(b"|2|12345678|11222333000181|35", self.commands[0])

    def test_activation_code_by_its_option(self):
        self.ask(b"%b|17000|x||", "chamar", "DesbloquearSAT", "--codigo", CODE)
        self.assertIn(b"DesbloquearSAT|", self.commands[0])
        self.assertIn(b"|12345678", self.commands[0])

    def test_argument_from_a_file(self):
        self.write("rede.xml", b"<config/>")
        self.ask(b"%b|12000|x||", "chamar", "ConfigurarInterfaceDeRede", CODE, "@rede.xml")
        self.assertIn(b"|12345678|<config/>", self.commands[0])

    def test_reply_of_another_shape_is_told(self):
        document, _ = self.ask(b"%b|08000|SAT em operacao", "consultar")
        self.assertFalse(document["formato_ok"])

    @unittest.skipUnless(LINUX, "a few under Wine suffice")
    def test_nothing_but_the_reply_is_printed_when_piped(self):
        self.answer(b"%b|08000|x||")
        self.assertEqual(b"", run(self.folder, "consultar", "--json").stderr)


class LostReplyTest(ToolCase):
    ini = {"timeouts": {"ConsultarSAT": 1}}

    def test_lost_reply_says_how_to_recover_it_and_the_session_brings_it_back(self):
        taken = threading.Thread(target=lambda: (self.device.receive_short(), self.device.ack()))
        taken.start()
        result = run(self.folder, "consultar", "--numero-sessao", "4711")
        taken.join()
        self.assertEqual(3, result.returncode)
        self.assertIn("zantir sessao 004711", result.stdout.decode("utf-8"))
        document, code = self.ask(b"004711|08000|SAT em operacao||", "sessao", "4711", "--codigo", CODE)
        self.assertEqual(0, code)
        self.assertIn(b"|12345678|004711", self.commands[0])
        self.assertEqual("004711", self.field(document, "numeroSessao"))

    def test_log_tells_the_day(self):
        self.answer(b"%b|10001|Codigo de Ativacao Invalido||")
        # A session whose packet has no checksum of zero: of such a packet the log leaves the last character out.
        run(self.folder, "status", "--codigo", "secretcode", "--numero-sessao", "5")
        document, code = run_json(self.folder, "log")
        self.assertEqual(0, code)
        last = document["trocas"][-1]
        self.assertEqual(("ConsultarStatusOperacional", "recusado"), (last["comando"], last["resultado"]))
        self.assertNotIn("secretcode", str(document))
        self.assertIn("********", str(last["linhas"]))
        self.assertNotIn(b"secretcode", run(self.folder, "log").stdout)
        self.assertIn("secretcode", str(run_json(self.folder, "log", "--sem-mascara")[0]))


@unittest.skipUnless(LINUX, "signals and terminals are the system's own")
class InterruptionTest(ToolCase):
    def begin_silent_call(self, **streams):
        process = start(self.folder, "consultar", "--numero-sessao", "321", **streams)
        self.device.receive_short()
        self.device.ack()
        return process

    def test_interrupt_ends_the_wait_and_says_how_to_recover(self):
        process = self.begin_silent_call(stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=5)
        self.assertEqual(130, process.returncode)
        self.assertIn("zantir sessao 000321", errors.decode("utf-8"))

    def test_limit_ends_the_wait(self):
        result = threading.Thread(target=lambda: (self.device.receive_short(), self.device.ack()))
        result.start()
        ended = run(self.folder, "consultar", "--limite", "1", "--numero-sessao", "322")
        result.join()
        self.assertEqual(3, ended.returncode)
        self.assertIn("zantir sessao 000322", ended.stderr.decode("utf-8"))

    def test_terminal_shows_the_time_that_passes(self):
        master, slave = pty.openpty()
        self.addCleanup(os.close, master)
        process = self.begin_silent_call(stdout=subprocess.DEVNULL, stderr=slave)
        os.close(slave)
        shown = b""
        deadline = waiting.Deadline(waiting.SOON)
        while b"ConsultarSAT 1 s / 10 s [" not in shown and not deadline.passed():
            if select.select([master], [], [], deadline.left())[0]:
                shown += os.read(master, 4096)
        process.send_signal(signal.SIGINT)
        self.assertEqual(130, process.wait(5))
        self.assertIn(b"ConsultarSAT 1 s / 10 s [", shown)


class DiagnosisTest(ToolCase):
    def check(self, document, name):
        return next(check for check in document["verificacoes"] if check["nome"] == name)

    def test_all_is_well(self):
        self.answer(b"%b|08000|SAT em operacao||")
        document, code = run_json(self.folder, "diagnostico")
        self.assertEqual((0, 0), (code, document["falhas"]), document)
        self.assertEqual(11, len(document["verificacoes"]))
        self.assertIn("ZANTIR DLL Ver. 02.00, 64 bits", self.check(document, "biblioteca")["encontrado"])
        self.assertIn("08000", self.check(document, "consulta")["encontrado"])

    @unittest.skipUnless(LINUX, "only Linux tells who holds a port")
    def test_program_that_holds_the_port_is_named_and_not_waited_for(self):
        port = os.open(self.line.name, os.O_RDWR | os.O_NOCTTY)
        self.addCleanup(os.close, port)
        fcntl.flock(port, fcntl.LOCK_EX)
        document, code = run_json(self.folder, "diagnostico")
        self.assertEqual(5, code)
        self.assertIn(f"({os.getpid()})", self.check(document, "porta_livre")["encontrado"])
        self.assertEqual("pulada", self.check(document, "consulta")["estado"])

    def test_device_that_does_not_answer_fails_the_check(self):
        self.write_ini("[SAT_EMULATOR]\nSerialPortWindows=COM999\nEnable=1\n[LOG]\nLogMode=1\n")
        self.addCleanup(self.configure)
        if not LINUX:
            self.skipTest("the Windows machine has a present device")
        document, code = run_json(self.folder, "diagnostico")
        self.assertEqual(5, code)
        self.assertEqual("falha", self.check(document, "consulta")["estado"])
        self.assertEqual("falha", self.check(document, "porta_livre")["estado"])
        # A port that does not exist is a wrong line in SAT.ini more often than a missing driver.
        self.assertIn("SerialPortWindows", self.check(document, "porta_livre")["providencia"])
        self.assertNotEqual("", self.check(document, "consulta")["providencia"])


class WithoutDeviceTest(FolderCase):
    def test_library_that_is_not_there(self):
        result = run(self.folder, "consultar", "--dll", "nowhere.dll")
        self.assertEqual(2, result.returncode)
        self.assertIn("nowhere.dll", result.stderr.decode("utf-8"))

    def test_wrong_usage(self):
        for arguments in ([], ["nada"], ["status"], ["vender"], ["chamar", "X"], ["chamar", "ExtrairLogs"],
                          ["sessao", "abc"], ["log", "31/02/2026"], ["codigo", "abc"]):
            with self.subTest(arguments):
                self.assertEqual(1, run(self.folder, *arguments).returncode)

    def test_wrong_usage_is_told_in_one_language(self):
        for arguments, told in ((["nada"], "falta um comando"), (["cancelar"], "falta um comando ou argumento: cancelamento"),
                                (["consultar", "--nada"], "argumento desconhecido: --nada"),
                                (["sessao", "abc"], "valor que não serve"), (["consultar", "--lang"], "--lang")):
            with self.subTest(arguments):
                complaint = run(self.folder, *arguments).stderr.decode("utf-8")
                self.assertIn(told, complaint)
                self.assertNotRegex(complaint, r"\b(is|required|could|not|expected|argument|subcommand)\b")

    def test_file_that_cannot_be_sent(self):
        with open(self.path("bad.xml"), "wb") as file:
            file.write(b"<CFe>\x03</CFe>")
        for name in ("bad.xml", "missing.xml"):
            self.assertEqual(6, run(self.folder, "vender", name, "--codigo", CODE).returncode)

    def test_path_from_the_root_is_a_path_and_no_option(self):
        result = run(self.folder, "vender", "/nowhere/missing.xml", "--codigo", CODE)
        self.assertEqual(6, result.returncode, result.stderr)
        self.assertIn("/nowhere/missing.xml", result.stderr.decode("utf-8"))

    def test_pasted_replies_are_explained(self):
        pasted = (b"123456|06001|0000|Codigo||\n20261120153942 SAT->PC << [<02>000001|08000|x||<4D><03>]OK:b\r\n"
                  b"SAT Erro[-01000]Win SAT Nao encontrado!!! L[2013] F[Communicate] \n")
        document, code = run_json(self.folder, "decodificar", given=pasted)
        self.assertEqual(0, code)
        self.assertEqual(["recusado", "aceito", "falha"], [reply["resultado"] for reply in document])
        self.assertEqual(5, run(self.folder, "decodificar", given=b"hello").returncode)
        self.assertEqual(1, run(self.folder, "decodificar", given=b"").returncode)

    def test_small_look_ups(self):
        self.assertEqual(0, run(self.folder, "codigo", "6010").returncode)
        self.assertEqual(5, run(self.folder, "codigo", "7003").returncode)
        self.assertEqual((0, 5), (run(self.folder, "cnpj", "11.222.333/0001-81").returncode,
                                  run(self.folder, "cpf", "52998224724").returncode))
        self.assertEqual("SP", run_json(self.folder, "uf", "SAO PAULO")[0]["uf"])
        self.assertEqual(5, run(self.folder, "uf", "XX").returncode)

    def test_other_language(self):
        shown = run(self.folder, "codigo", "6098", "--lang", "en").stdout.decode("utf-8")
        self.assertIn("The device is busy", shown)
        self.assertIn("Exit codes:", run(self.folder, "--help", "--lang", "en").stdout.decode("utf-8"))

    def test_help_has_an_example_for_each_command(self):
        shown = run(self.folder, "--help").stdout.decode("utf-8")
        listed = shown.split("Comandos:")[1].split("Exemplos:")[0]
        for name in ("diagnostico", "portas", "consultar", "status", "vender", "cancelar", "sessao", "chamar",
                     "decodificar", "codigo", "cnpj", "cpf", "uf", "log", "completar"):
            self.assertIn(f"\n  {name} ", listed)
            self.assertIn("zantir " + name, shown.split("Exemplos:")[1])
        self.assertIn("Exemplo: zantir vender", run(self.folder, "vender", "--help").stdout.decode("utf-8"))

    @unittest.skipUnless(LINUX, "bash")
    def test_bash_completes(self):
        script = run(self.folder, "completar", "bash").stdout.decode("utf-8")
        asked = script + '\nCOMP_WORDS=(zantir chamar Extr) COMP_CWORD=2; _zantir; echo "${COMPREPLY[@]}"'
        asked += '\nCOMP_WORDS=(zantir diag) COMP_CWORD=1; _zantir; echo "${COMPREPLY[@]}"'
        shown = subprocess.run(["bash", "-c", asked], capture_output=True, text=True, check=True).stdout.split()
        self.assertEqual(["ExtrairLogs", "diagnostico"], shown)

    def test_missing_log_says_where_it_looked(self):
        result = run(self.folder, "log")
        self.assertEqual(6, result.returncode)
        self.assertIn("Log", result.stderr.decode("utf-8"))


if __name__ == "__main__":
    unittest.main()
