// A SAT fiscal device through ZANTIR64.dll or libzantir64.so: load, call, read the reply.
using System;
using System.Runtime.InteropServices;
using System.Text;

namespace Zantir
{
    /// The device was not reached, or did not answer: the library's own text.
    public sealed class ExchangeException : Exception
    {
        public ExchangeException(string text) : base(text) { }

        /// The command went out, or may have: ask for its session before sending it again.
        public bool DeviceMayHaveActed
        {
            get { return Message.Contains("L[2114]") || Message.Contains("L[2127]"); }
        }
    }

    /// A device's reply, cut at its "|".
    public sealed class Reply
    {
        public readonly string[] Fields;

        public Reply(string text) { Fields = text.Split('|'); }

        public string Session { get { return Fields[0]; } }
        public string Code { get { return Fields.Length > 1 ? Fields[1] : ""; } }
        public bool Busy { get { return Code.EndsWith("098", StringComparison.Ordinal); } }

        /// The device's message; replies to sales and cancellations have an alert in front of it.
        public string Message
        {
            get
            {
                bool alert = Code.StartsWith("06", StringComparison.Ordinal) || Code.StartsWith("07", StringComparison.Ordinal);
                int place = alert ? 3 : 2;
                return Fields.Length > place ? Fields[place] : "";
            }
        }

        /// The XML of the receipt that a sale or cancellation brought.
        public byte[] ReceiptXml { get { return Convert.FromBase64String(Fields[6]); } }
    }

    /// The library as it is. On Linux, Mono finds libzantir64.so by the program's configuration file.
    internal static class Native
    {
        private const string Library = "ZANTIR64.dll";

        [DllImport(Library)] internal static extern IntPtr AtivarSAT(int session, int kind, byte[] code, byte[] cnpj, int state);
        [DllImport(Library)] internal static extern IntPtr ComunicarCertificadoICPBRASIL(int session, byte[] code, byte[] certificate);
        [DllImport(Library)] internal static extern IntPtr EnviarDadosVenda(int session, byte[] code, byte[] sale);
        [DllImport(Library)] internal static extern IntPtr CancelarUltimaVenda(int session, byte[] code, byte[] key, byte[] cancellation);
        [DllImport(Library)] internal static extern IntPtr ConsultarSAT(int session);
        [DllImport(Library)] internal static extern IntPtr TesteFimAFim(int session, byte[] code, byte[] sale);
        [DllImport(Library)] internal static extern IntPtr ConsultarStatusOperacional(int session, byte[] code);
        [DllImport(Library)] internal static extern IntPtr ConsultarNumeroSessao(int session, byte[] code, int wanted);
        [DllImport(Library)] internal static extern IntPtr ConfigurarInterfaceDeRede(int session, byte[] code, byte[] configuration);
        [DllImport(Library)] internal static extern IntPtr AssociarAssinatura(int session, byte[] code, byte[] cnpjs, byte[] signature);
        [DllImport(Library)] internal static extern IntPtr AtualizarSoftwareSAT(int session, byte[] code);
        [DllImport(Library)] internal static extern IntPtr ExtrairLogs(int session, byte[] code);
        [DllImport(Library)] internal static extern IntPtr BloquearSAT(int session, byte[] code);
        [DllImport(Library)] internal static extern IntPtr DesbloquearSAT(int session, byte[] code);
        [DllImport(Library)] internal static extern IntPtr TrocarCodigoDeAtivacao(int session, byte[] code, int option, byte[] fresh, byte[] again);
        [DllImport(Library)] internal static extern IntPtr ConsultarUltimaSessaoFiscal(int session, byte[] code);
    }

    /// The device. Its calls may come from any thread; texts go out as UTF-8. Each throws ExchangeException.
    public static class Sat
    {
        // All functions share one buffer: one call at a time, and its text copied before the next.
        private static readonly object OneAtATime = new object();
        private static readonly Random Sessions = new Random();

        public static int NewSession() { return Sessions.Next(1, 1000000); }

        public static Reply ConsultarSAT(int session)
        {
            return Call(() => Native.ConsultarSAT(session));
        }

        public static Reply EnviarDadosVenda(int session, string code, byte[] sale)
        {
            return Call(() => Native.EnviarDadosVenda(session, Text(code), Ended(sale)));
        }

        public static Reply CancelarUltimaVenda(int session, string code, string key, byte[] cancellation)
        {
            return Call(() => Native.CancelarUltimaVenda(session, Text(code), Text(key), Ended(cancellation)));
        }

        public static Reply ConsultarNumeroSessao(int session, string code, int wanted)
        {
            return Call(() => Native.ConsultarNumeroSessao(session, Text(code), wanted));
        }

        public static Reply ConsultarStatusOperacional(int session, string code)
        {
            return Call(() => Native.ConsultarStatusOperacional(session, Text(code)));
        }

        /// Any function of Native, for those that have no method here.
        internal static Reply Call(Func<IntPtr> function)
        {
            byte[] bytes;
            lock (OneAtATime) { bytes = BytesAt(function()); }
            string text = Decode(bytes);
            bool failed = text.StartsWith("SAT Erro[", StringComparison.Ordinal) || text.StartsWith("\x02", StringComparison.Ordinal);
            if (failed) throw new ExchangeException(text);
            return new Reply(text);
        }

        private static byte[] Text(string text) { return Ended(Encoding.UTF8.GetBytes(text)); }

        private static byte[] Ended(byte[] bytes)
        {
            Array.Resize(ref bytes, bytes.Length + 1);
            return bytes;
        }

        private static byte[] BytesAt(IntPtr text)
        {
            int size = 0;
            while (Marshal.ReadByte(text, size) != 0) size++;
            var bytes = new byte[size];
            Marshal.Copy(text, bytes, 0, size);
            return bytes;
        }

        /// Most devices send UTF-8, some Latin-1; in Latin-1 every byte is a character.
        private static string Decode(byte[] bytes)
        {
            try { return new UTF8Encoding(false, true).GetString(bytes); }
            catch (DecoderFallbackException) { return Encoding.GetEncoding("iso-8859-1").GetString(bytes); }
        }
    }
}
