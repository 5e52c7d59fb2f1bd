// The shortest call: asks whether the device works. Ends with 0 when it answered.
using System;
using Zantir;

internal static class Consulta
{
    private static int Main()
    {
        try
        {
            Reply reply = Sat.ConsultarSAT(Sat.NewSession());
            Console.WriteLine("{0} {1}", reply.Code, reply.Message);
            return 0;
        }
        catch (Exception error) // not loaded, or not reached
        {
            Console.WriteLine(error.Message);
            return 1;
        }
    }
}
