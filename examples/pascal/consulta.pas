{ The shortest call: asks whether the device works. Ends with 0 when it answered. }
program consulta;

{$IFDEF FPC}{$MODE DELPHI}{$ENDIF}

uses
  {$IFDEF UNIX}cthreads,{$ENDIF} SysUtils, zantir;

var
  Sat: TSat;
  Reply: TReply;
begin
  ExitCode := 1;
  try
    Sat := TSat.Create('');
    try
      Reply := Sat.ConsultarSAT(NewSession);
      WriteLn(Reply.Code, ' ', Reply.Message);
      Reply.Free;
      ExitCode := 0;
    finally
      Sat.Free;
    end;
  except
    on Error: Exception do { not loaded, or not reached }
      WriteLn(Error.Message);
  end;
end.
