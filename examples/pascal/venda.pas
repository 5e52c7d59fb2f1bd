{ A complete sale: venda VENDA.xml [CODIGO]. Ends with 0 sold, 1 refused, 2 device not reached, 3 not loaded. }
program venda;

{$IFDEF FPC}{$MODE DELPHI}{$ENDIF}

uses
  {$IFDEF UNIX}cthreads,{$ENDIF} SysUtils, Classes, zantir;

const
  BUSY_TRIES = 5;

var
  Sat: TSat;

function ReadWhole(const Name: string): AnsiString;
var
  Stream: TFileStream;
begin
  Stream := TFileStream.Create(Name, fmOpenRead or fmShareDenyNone);
  try
    SetLength(Result, Stream.Size);
    if Stream.Size > 0 then
      Stream.ReadBuffer(Result[1], Stream.Size);
  finally
    Stream.Free;
  end;
end;

{ How many bytes a Base64 text holds. }
function Base64Size(const Text: AnsiString): Integer;
begin
  Result := Length(Text) div 4 * 3;
  if (Text <> '') and (Text[Length(Text)] = '=') then
    Dec(Result);
  if (Length(Text) > 1) and (Text[Length(Text) - 1] = '=') then
    Dec(Result);
end;

{ Whether the device was busy and is to be asked again; it says so with a code that ends in 098. Frees that reply. }
function TryAgain(var Reply: TReply; Tries: Integer): Boolean;
begin
  Result := Reply.Busy and (Tries < BUSY_TRIES);
  if not Result then
    Exit;
  WriteLn('Equipamento ocupado (', Reply.Code, '), nova tentativa');
  FreeAndNil(Reply);
  Sleep(500);
end;

function SendSale(Session: Integer; const Code, Xml: AnsiString): TReply;
var
  Tries: Integer;
begin
  Tries := 0;
  repeat
    Inc(Tries);
    Result := Sat.EnviarDadosVenda(Session, Code, Xml);
  until not TryAgain(Result, Tries);
end;

function AskSession(const Code: AnsiString; Session: Integer): TReply;
var
  Tries: Integer;
begin
  Tries := 0;
  repeat
    Inc(Tries);
    Result := Sat.ConsultarNumeroSessao(NewSession, Code, Session);
  until not TryAgain(Result, Tries);
end;

{ The reply to the sale; when it is lost on the way, what the device stored under its session number. }
function Sell(const Code, Xml: AnsiString): TReply;
var
  Session: Integer;
begin
  Session := NewSession;
  try
    Result := SendSale(Session, Code, Xml);
    Exit;
  except
    on Error: EExchange do
    begin
      if not Error.DeviceMayHaveActed then
        raise;
      WriteLn('Resposta perdida, consultando a sessao: ', Error.Message);
    end;
  end;
  Result := AskSession(Code, Session);
  if Result.Code <> '11003' then
    Exit; { the device knows the session: this is its reply }
  Result.Free;
  WriteLn('A venda nao chegou ao equipamento, enviando outra vez');
  Result := SendSale(NewSession, Code, Xml);
end;

procedure Run(const Code, Xml: AnsiString);
var
  Reply: TReply;
begin
  Reply := Sat.ConsultarSAT(NewSession);
  WriteLn('ConsultarSAT: ', Reply.Code, ' ', Reply.Message);
  Reply.Free;
  Reply := Sell(Code, Xml);
  try
    WriteLn('Venda: ', Reply.Code, ' ', Reply.Message);
    ExitCode := 1;
    if Reply.Code <> '06000' then
      Exit;
    WriteLn('Chave: ', Reply.Field(8));
    WriteLn('Total: ', Reply.Field(9));
    WriteLn('Cupom: ', Base64Size(Reply.Field(6)), ' bytes');
    ExitCode := 0;
  finally
    Reply.Free;
  end;
end;

var
  Code: AnsiString;
begin
  ExitCode := 3;
  if ParamCount < 1 then
  begin
    WriteLn(ErrOutput, 'venda VENDA.xml [CODIGO]');
    Exit;
  end;
  Code := '12345678';
  if ParamCount > 1 then
    Code := AnsiString(ParamStr(2));
  try
    Sat := TSat.Create(GetEnvironmentVariable('ZANTIR_LIB'));
    try
      Run(Code, ReadWhole(ParamStr(1)));
    finally
      Sat.Free;
    end;
  except
    on Error: EExchange do
    begin
      WriteLn('Sem comunicacao: ', Error.Message);
      ExitCode := 2;
    end;
    on Error: ENotLoaded do
      WriteLn(ErrOutput, 'A biblioteca nao foi carregada: ', Error.Message);
  end;
end.
