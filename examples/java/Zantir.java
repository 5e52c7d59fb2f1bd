// A SAT fiscal device through ZANTIR64.dll or libzantir64.so: load, call, read the reply.

import com.sun.jna.Function;
import com.sun.jna.NativeLibrary;
import com.sun.jna.Platform;
import com.sun.jna.Pointer;
import java.nio.ByteBuffer;
import java.nio.charset.CharacterCodingException;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.Base64;
import java.util.concurrent.ThreadLocalRandom;

/** The library. One object a process; its calls may come from any thread. */
final class Zantir {
    /** The device was not reached, or did not answer: the library's own text. */
    static final class ExchangeException extends Exception {
        private static final long serialVersionUID = 1L;

        ExchangeException(String text) {
            super(text);
        }

        /** The command went out, or may have: ask for its session before sending it again. */
        boolean deviceMayHaveActed() {
            return getMessage().contains("L[2114]") || getMessage().contains("L[2127]");
        }
    }

    /** A device's reply, cut at its "|". */
    static final class Reply {
        final String[] fields;

        Reply(String text) {
            fields = text.split("\\|", -1);
        }

        String field(int place) {
            return place < fields.length ? fields[place] : "";
        }

        String code() {
            return field(1);
        }

        boolean busy() {
            return code().endsWith("098");
        }

        /** The device's message; replies to sales and cancellations have an alert in front of it. */
        String message() {
            return field(code().startsWith("06") || code().startsWith("07") ? 3 : 2);
        }

        /** The XML of the receipt that a sale or cancellation brought. */
        byte[] receiptXml() {
            return Base64.getDecoder().decode(field(6));
        }
    }

    private final NativeLibrary library;

    /** @param path the library's file, or null for its name on the usual paths */
    Zantir(String path) {
        String name = Platform.isWindows() ? "ZANTIR64" : "zantir64";
        library = NativeLibrary.getInstance(path != null ? path : name);
    }

    static int newSession() {
        return ThreadLocalRandom.current().nextInt(1, 1000000);
    }

    /**
     * The reply to one command. Arguments are Integer, String (sent as UTF-8) or byte[].
     * All functions share one buffer, so one call at a time, and its text copied before the next.
     */
    synchronized Reply call(String name, Object... arguments) throws ExchangeException {
        Object[] raw = Arrays.stream(arguments).map(Zantir::raw).toArray();
        Function function = library.getFunction(name);
        Pointer text = (Pointer) function.invoke(Pointer.class, raw);
        String reply = decode(text.getByteArray(0, (int) text.indexOf(0, (byte) 0)));
        if (reply.startsWith("SAT Erro[") || reply.startsWith("\u0002")) throw new ExchangeException(reply);
        return new Reply(reply);
    }

    private static Object raw(Object argument) {
        if (argument instanceof String) return ended(((String) argument).getBytes(StandardCharsets.UTF_8));
        return argument instanceof byte[] ? ended((byte[]) argument) : argument;
    }

    private static byte[] ended(byte[] bytes) {
        return Arrays.copyOf(bytes, bytes.length + 1);
    }

    /** Most devices send UTF-8, some Latin-1; in Latin-1 every byte is a character. */
    private static String decode(byte[] bytes) {
        try {
            return StandardCharsets.UTF_8.newDecoder().decode(ByteBuffer.wrap(bytes)).toString();
        } catch (CharacterCodingException e) {
            return new String(bytes, StandardCharsets.ISO_8859_1);
        }
    }
}
