{ A SAT fiscal device through ZANTIR64.dll or libzantir64.so: load, call, read the reply.
  Compiles with Free Pascal and with Delphi. }
unit zantir;

{$IFDEF FPC}{$MODE DELPHI}{$ENDIF}

interface

uses
  SysUtils, SyncObjs;

type
  { The device was not reached, or did not answer: the library's own text. }
  EExchange = class(Exception)
  public
    { The command went out, or may have: ask for its session before sending it again. }
    function DeviceMayHaveActed: Boolean;
  end;

  { The library could not be loaded, or lacks a function. }
  ENotLoaded = class(Exception);

  { A device's reply, cut at its "|". Field 0 is the session number. }
  TReply = class
  private
    FFields: array of AnsiString;
  public
    constructor Create(const Text: AnsiString);
    { An empty text when the reply has no such field. }
    function Field(Index: Integer): AnsiString;
    function Code: AnsiString;
    function Busy: Boolean;
    { The device's message; replies to sales and cancellations have an alert in front of it. }
    function Message: AnsiString;
  end;

  { The library. One object a process; its calls may come from any thread. Texts are bytes, as the device sends and
    expects them, mostly UTF-8. Each call raises EExchange. The caller frees the reply. }
  TSat = class
  private
    FLibrary: THandle;
    FOneAtATime: TCriticalSection;
    function FunctionNamed(const Name: AnsiString): Pointer;
    function Finish(Text: PAnsiChar): TReply;
  public
    { Path: the library's file, or empty for its name on the usual paths. }
    constructor Create(const Path: string);
    destructor Destroy; override;
    function ConsultarSAT(Session: Integer): TReply;
    function EnviarDadosVenda(Session: Integer; const Code, Sale: AnsiString): TReply;
    function CancelarUltimaVenda(Session: Integer; const Code, Key, Cancellation: AnsiString): TReply;
    function ConsultarStatusOperacional(Session: Integer; const Code: AnsiString): TReply;
    function ConsultarNumeroSessao(Session: Integer; const Code: AnsiString; Wanted: Integer): TReply;
  end;

function NewSession: Integer;

implementation

{$IFDEF MSWINDOWS}
uses
  Windows;
const
  LIBRARY_NAME = 'ZANTIR64.dll';
{$ELSE}
uses
  DynLibs;
const
  LIBRARY_NAME = 'libzantir64.so';
{$ENDIF}

type
  TSessionOnly = function(Session: Integer): PAnsiChar; cdecl;
  TOneText = function(Session: Integer; A: PAnsiChar): PAnsiChar; cdecl;
  TTwoTexts = function(Session: Integer; A, B: PAnsiChar): PAnsiChar; cdecl;
  TThreeTexts = function(Session: Integer; A, B, C: PAnsiChar): PAnsiChar; cdecl;
  TTextAndNumber = function(Session: Integer; A: PAnsiChar; B: Integer): PAnsiChar; cdecl;

{$IFNDEF FPC}
{ Free Pascal's name for it. }
function GetLastOSError: Cardinal;
begin
  Result := GetLastError;
end;
{$ENDIF}

function NewSession: Integer;
begin
  Result := 1 + Random(999999);
end;

function EExchange.DeviceMayHaveActed: Boolean;
begin
  Result := (Pos('L[2114]', Message) > 0) or (Pos('L[2127]', Message) > 0);
end;

constructor TReply.Create(const Text: AnsiString);
var
  I, Start: Integer;
begin
  inherited Create;
  Start := 1;
  for I := 1 to Length(Text) + 1 do
    if (I > Length(Text)) or (Text[I] = '|') then
    begin
      SetLength(FFields, Length(FFields) + 1);
      FFields[High(FFields)] := Copy(Text, Start, I - Start);
      Start := I + 1;
    end;
end;

function TReply.Field(Index: Integer): AnsiString;
begin
  Result := '';
  if Index <= High(FFields) then
    Result := FFields[Index];
end;

function TReply.Code: AnsiString;
begin
  Result := Field(1);
end;

function TReply.Busy: Boolean;
begin
  Result := Copy(Code, Length(Code) - 2, 3) = '098';
end;

function TReply.Message: AnsiString;
begin
  if (Copy(Code, 1, 2) = '06') or (Copy(Code, 1, 2) = '07') then
    Result := Field(3)
  else
    Result := Field(2);
end;

constructor TSat.Create(const Path: string);
begin
  inherited Create;
  if Path <> '' then
    FLibrary := LoadLibrary(PChar(Path))
  else
    FLibrary := LoadLibrary(LIBRARY_NAME);
  if FLibrary = 0 then
    raise ENotLoaded.Create(LIBRARY_NAME + ': ' + SysErrorMessage(GetLastOSError));
  { All functions share one buffer: one call at a time, and its text copied before the next. }
  FOneAtATime := TCriticalSection.Create;
end;

destructor TSat.Destroy;
begin
  FOneAtATime.Free;
  if FLibrary <> 0 then
    FreeLibrary(FLibrary);
  inherited;
end;

function TSat.FunctionNamed(const Name: AnsiString): Pointer;
begin
  Result := GetProcAddress(FLibrary, PAnsiChar(Name));
  if Result = nil then
    raise ENotLoaded.Create('funcao ausente: ' + string(Name));
end;

{ Copies the text while nobody else may call. }
function TSat.Finish(Text: PAnsiChar): TReply;
var
  Copied: AnsiString;
begin
  Copied := Text;
  if (Copy(Copied, 1, 9) = 'SAT Erro[') or (Copy(Copied, 1, 1) = #2) then
    raise EExchange.Create(string(Copied));
  Result := TReply.Create(Copied);
end;

function TSat.ConsultarSAT(Session: Integer): TReply;
var
  Call: TSessionOnly;
begin
  Call := TSessionOnly(FunctionNamed('ConsultarSAT'));
  FOneAtATime.Enter;
  try
    Result := Finish(Call(Session));
  finally
    FOneAtATime.Leave;
  end;
end;

function TSat.EnviarDadosVenda(Session: Integer; const Code, Sale: AnsiString): TReply;
var
  Call: TTwoTexts;
begin
  Call := TTwoTexts(FunctionNamed('EnviarDadosVenda'));
  FOneAtATime.Enter;
  try
    Result := Finish(Call(Session, PAnsiChar(Code), PAnsiChar(Sale)));
  finally
    FOneAtATime.Leave;
  end;
end;

function TSat.CancelarUltimaVenda(Session: Integer; const Code, Key, Cancellation: AnsiString): TReply;
var
  Call: TThreeTexts;
begin
  Call := TThreeTexts(FunctionNamed('CancelarUltimaVenda'));
  FOneAtATime.Enter;
  try
    Result := Finish(Call(Session, PAnsiChar(Code), PAnsiChar(Key), PAnsiChar(Cancellation)));
  finally
    FOneAtATime.Leave;
  end;
end;

function TSat.ConsultarStatusOperacional(Session: Integer; const Code: AnsiString): TReply;
var
  Call: TOneText;
begin
  Call := TOneText(FunctionNamed('ConsultarStatusOperacional'));
  FOneAtATime.Enter;
  try
    Result := Finish(Call(Session, PAnsiChar(Code)));
  finally
    FOneAtATime.Leave;
  end;
end;

function TSat.ConsultarNumeroSessao(Session: Integer; const Code: AnsiString; Wanted: Integer): TReply;
var
  Call: TTextAndNumber;
begin
  Call := TTextAndNumber(FunctionNamed('ConsultarNumeroSessao'));
  FOneAtATime.Enter;
  try
    Result := Finish(Call(Session, PAnsiChar(Code), Wanted));
  finally
    FOneAtATime.Leave;
  end;
end;

initialization
  Randomize;
{$IFDEF FPC}
  { Seeded by seconds alone, two sales of one second would have the same session. }
  RandSeed := RandSeed xor LongInt(GetTickCount64) xor (LongInt(GetProcessID) shl 12);
{$ENDIF}
end.
