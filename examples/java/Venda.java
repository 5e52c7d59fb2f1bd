// A complete sale: java Venda VENDA.xml [CODIGO]. Ends with 0 sold, 1 refused, 2 device not reached, 3 not loaded.

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Paths;

final class Venda {
    private static final int BUSY_TRIES = 5;
    private final Zantir sat;

    private Venda(Zantir sat) {
        this.sat = sat;
    }

    /** A device that is busy says so with a code that ends in 098, and is asked again. */
    private Zantir.Reply whenFree(String name, Object... arguments)
            throws Zantir.ExchangeException, InterruptedException {
        for (int tries = 1; ; tries++) {
            Zantir.Reply reply = sat.call(name, arguments);
            if (!reply.busy() || tries == BUSY_TRIES) return reply;
            System.out.println("Equipamento ocupado (" + reply.code() + "), nova tentativa");
            Thread.sleep(500);
        }
    }

    /** The reply to the sale; when it is lost on the way, what the device stored under its session number. */
    private Zantir.Reply sell(String code, byte[] xml) throws Zantir.ExchangeException, InterruptedException {
        int session = Zantir.newSession();
        try {
            return whenFree("EnviarDadosVenda", session, code, xml);
        } catch (Zantir.ExchangeException error) {
            if (!error.deviceMayHaveActed()) throw error;
            System.out.println("Resposta perdida, consultando a sessao: " + error.getMessage());
        }
        Zantir.Reply stored = whenFree("ConsultarNumeroSessao", Zantir.newSession(), code, session);
        if (!stored.code().equals("11003")) return stored; // the device knows the session: this is its reply
        System.out.println("A venda nao chegou ao equipamento, enviando outra vez");
        return whenFree("EnviarDadosVenda", Zantir.newSession(), code, xml);
    }

    private int run(byte[] xml, String code) throws InterruptedException {
        try {
            Zantir.Reply state = whenFree("ConsultarSAT", Zantir.newSession());
            System.out.println("ConsultarSAT: " + state.code() + " " + state.message());
            Zantir.Reply sale = sell(code, xml);
            System.out.println("Venda: " + sale.code() + " " + sale.message());
            if (!sale.code().equals("06000")) return 1;
            System.out.println("Chave: " + sale.field(8));
            System.out.println("Total: " + sale.field(9));
            System.out.println("Cupom: " + sale.receiptXml().length + " bytes");
            return 0;
        } catch (Zantir.ExchangeException error) {
            System.out.println("Sem comunicacao: " + error.getMessage());
            return 2;
        }
    }

    public static void main(String[] arguments) throws IOException, InterruptedException {
        if (arguments.length < 1) {
            System.err.println("java Venda VENDA.xml [CODIGO]");
            System.exit(3);
        }
        byte[] xml = Files.readAllBytes(Paths.get(arguments[0]));
        Zantir sat = null;
        try {
            sat = new Zantir(System.getenv("ZANTIR_LIB"));
        } catch (UnsatisfiedLinkError error) {
            System.err.println("A biblioteca nao foi carregada: " + error.getMessage());
            System.exit(3);
        }
        System.exit(new Venda(sat).run(xml, arguments.length > 1 ? arguments[1] : "12345678"));
    }
}
