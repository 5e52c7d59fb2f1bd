// A complete sale: Venda.exe VENDA.xml [CODIGO]. Ends with 0 sold, 1 refused, 2 device not reached, 3 not loaded.
using System;
using System.IO;
using System.Threading;
using Zantir;

internal static class Venda
{
    private const int BusyTries = 5;

    /// A device that is busy says so with a code that ends in 098, and is asked again.
    private static Reply WhenFree(Func<Reply> call)
    {
        for (int tries = 1; ; tries++)
        {
            Reply reply = call();
            if (!reply.Busy || tries == BusyTries) return reply;
            Console.WriteLine("Equipamento ocupado ({0}), nova tentativa", reply.Code);
            Thread.Sleep(500);
        }
    }

    /// The reply to the sale; when it is lost on the way, what the device stored under its session number.
    private static Reply Sell(string code, byte[] xml)
    {
        int session = Sat.NewSession();
        try
        {
            return WhenFree(() => Sat.EnviarDadosVenda(session, code, xml));
        }
        catch (ExchangeException error)
        {
            if (!error.DeviceMayHaveActed) throw;
            Console.WriteLine("Resposta perdida, consultando a sessao: {0}", error.Message);
        }
        Reply stored = WhenFree(() => Sat.ConsultarNumeroSessao(Sat.NewSession(), code, session));
        if (stored.Code != "11003") return stored; // the device knows the session: this is its reply
        Console.WriteLine("A venda nao chegou ao equipamento, enviando outra vez");
        return WhenFree(() => Sat.EnviarDadosVenda(Sat.NewSession(), code, xml));
    }

    private static int Run(byte[] xml, string code)
    {
        Reply state = WhenFree(() => Sat.ConsultarSAT(Sat.NewSession()));
        Console.WriteLine("ConsultarSAT: {0} {1}", state.Code, state.Message);
        Reply sale = Sell(code, xml);
        Console.WriteLine("Venda: {0} {1}", sale.Code, sale.Message);
        if (sale.Code != "06000") return 1;
        Console.WriteLine("Chave: {0}", sale.Fields[8]);
        Console.WriteLine("Total: {0}", sale.Fields[9]);
        Console.WriteLine("Cupom: {0} bytes", sale.ReceiptXml.Length);
        return 0;
    }

    private static int Main(string[] arguments)
    {
        if (arguments.Length < 1)
        {
            Console.Error.WriteLine("Venda.exe VENDA.xml [CODIGO]");
            return 3;
        }
        try
        {
            return Run(File.ReadAllBytes(arguments[0]), arguments.Length > 1 ? arguments[1] : "12345678");
        }
        catch (ExchangeException error)
        {
            Console.WriteLine("Sem comunicacao: {0}", error.Message);
            return 2;
        }
        catch (DllNotFoundException error)
        {
            Console.Error.WriteLine("A biblioteca nao foi carregada: {0}", error.Message);
            return 3;
        }
    }
}
