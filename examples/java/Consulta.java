// The shortest call: asks whether the device works. Ends with 0 when it answered.

final class Consulta {
    public static void main(String[] arguments) {
        try {
            Zantir.Reply reply = new Zantir(null).call("ConsultarSAT", Zantir.newSession());
            System.out.println(reply.code() + " " + reply.message());
        } catch (UnsatisfiedLinkError | Zantir.ExchangeException error) { // not loaded, or not reached
            System.err.println(error.getMessage());
            System.exit(1);
        }
    }
}
