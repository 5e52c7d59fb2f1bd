'use strict';
// A SAT fiscal device through ZANTIR64.dll or libzantir64.so: load, call, read the reply.

const koffi = require('koffi');

const NAME = process.platform === 'win32' ? 'ZANTIR64.dll' : 'libzantir64.so';

// The arguments behind numeroSessao. Texts are bytes in a Buffer that ends in 0.
const FUNCTIONS = {
  AtivarSAT: ['int', 'void*', 'void*', 'int'],
  ComunicarCertificadoICPBRASIL: ['void*', 'void*'],
  EnviarDadosVenda: ['void*', 'void*'],
  CancelarUltimaVenda: ['void*', 'void*', 'void*'],
  ConsultarSAT: [],
  TesteFimAFim: ['void*', 'void*'],
  ConsultarStatusOperacional: ['void*'],
  ConsultarNumeroSessao: ['void*', 'int'],
  ConfigurarInterfaceDeRede: ['void*', 'void*'],
  AssociarAssinatura: ['void*', 'void*', 'void*'],
  AtualizarSoftwareSAT: ['void*'],
  ExtrairLogs: ['void*'],
  BloquearSAT: ['void*'],
  DesbloquearSAT: ['void*'],
  TrocarCodigoDeAtivacao: ['void*', 'int', 'void*', 'void*'],
  ConsultarUltimaSessaoFiscal: ['void*'],
};

/** The device was not reached, or did not answer: the library's own text. */
class ExchangeError extends Error {
  /** The command went out, or may have: ask for its session before sending it again. */
  get deviceMayHaveActed() {
    return this.message.includes('L[2114]') || this.message.includes('L[2127]');
  }
}

/** Most devices send UTF-8, some Latin-1; in Latin-1 every byte is a character. */
function decode(bytes) {
  try {
    return new TextDecoder('utf-8', { fatal: true }).decode(bytes);
  } catch {
    return Buffer.from(bytes).toString('latin1');
  }
}

/** A device's reply, cut at its "|". */
class Reply {
  constructor(text) {
    this.fields = text.split('|');
    this.session = this.fields[0];
    this.code = this.fields[1] ?? '';
  }
  get busy() {
    return this.code.endsWith('098');
  }
  /** The device's message; replies to sales and cancellations have an alert in front of it. */
  get message() {
    return this.fields[/^0[67]/.test(this.code) ? 3 : 2] ?? '';
  }
  /** The XML of the receipt that a sale or cancellation brought. */
  get receiptXml() {
    return Buffer.from(this.fields[6], 'base64');
  }
}

/** The bytes of a text in memory, up to its 0. */
function bytesAt(pointer) {
  const size = koffi.decode(pointer, 'char', -1).length;
  return Buffer.from(koffi.decode(pointer, koffi.array('uint8_t', size)));
}

function argument(value) {
  if (typeof value === 'number' || value === null) return value;
  return Buffer.concat([Buffer.from(value), Buffer.alloc(1)]);
}

/** The library. Its calls block, and JavaScript makes them one at a time: nothing else is needed to serialise them. */
class Sat {
  constructor(path) {
    const library = koffi.load(path ?? process.env.ZANTIR_LIB ?? NAME);
    this.functions = {};
    for (const [name, types] of Object.entries(FUNCTIONS)) {
      this.functions[name] = library.func(name, 'void*', ['int', ...types]);
    }
  }

  /** The reply to one command. Texts go to the device as UTF-8. Throws ExchangeError. */
  call(name, session, ...values) {
    // Copied at once: the next call overwrites the library's buffer.
    const text = decode(bytesAt(this.functions[name](session, ...values.map(argument))));
    if (text.startsWith('SAT Erro[') || text.startsWith('\x02')) throw new ExchangeError(text);
    return new Reply(text);
  }
}

const newSession = () => 1 + Math.floor(Math.random() * 999999);

module.exports = { Sat, Reply, ExchangeError, newSession };
