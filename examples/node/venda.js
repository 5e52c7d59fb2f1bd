#!/usr/bin/env node
'use strict';
// A complete sale: venda.js VENDA.xml [CODIGO]. Ends with 0 sold, 1 refused, 2 device not reached, 3 not loaded.

const fs = require('fs');
const { Sat, ExchangeError, newSession } = require('./zantir');

const BUSY_TRIES = 5;

function pause(milliseconds) {
  Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, milliseconds);
}

/** A device that is busy says so with a code that ends in 098, and is asked again. */
function callWhenFree(sat, name, session, ...values) {
  for (let tries = 1; ; ++tries) {
    const reply = sat.call(name, session, ...values);
    if (!reply.busy || tries === BUSY_TRIES) return reply;
    console.log(`Equipamento ocupado (${reply.code}), nova tentativa`);
    pause(500);
  }
}

/** The reply to the sale; when it is lost on the way, what the device stored under its session number. */
function sell(sat, code, xml) {
  const session = newSession();
  try {
    return callWhenFree(sat, 'EnviarDadosVenda', session, code, xml);
  } catch (error) {
    if (!(error instanceof ExchangeError) || !error.deviceMayHaveActed) throw error;
    console.log(`Resposta perdida, consultando a sessao: ${error.message}`);
  }
  const stored = callWhenFree(sat, 'ConsultarNumeroSessao', newSession(), code, session);
  if (stored.code !== '11003') return stored; // the device knows the session: this is its reply
  console.log('A venda nao chegou ao equipamento, enviando outra vez');
  return callWhenFree(sat, 'EnviarDadosVenda', newSession(), code, xml);
}

function main() {
  const [file, code = '12345678'] = process.argv.slice(2);
  if (file === undefined) {
    console.error('venda.js VENDA.xml [CODIGO]');
    return 3;
  }
  const xml = fs.readFileSync(file);
  let sat;
  try {
    sat = new Sat();
  } catch (error) {
    console.error(`A biblioteca nao foi carregada: ${error.message}`);
    return 3;
  }
  try {
    const state = callWhenFree(sat, 'ConsultarSAT', newSession());
    console.log(`ConsultarSAT: ${state.code} ${state.message}`);
    const sale = sell(sat, code, xml);
    console.log(`Venda: ${sale.code} ${sale.message}`);
    if (sale.code !== '06000') return 1;
    console.log(`Chave: ${sale.fields[8]}`);
    console.log(`Total: ${sale.fields[9]}`);
    console.log(`Cupom: ${sale.receiptXml.length} bytes`);
    return 0;
  } catch (error) {
    if (!(error instanceof ExchangeError)) throw error;
    console.log(`Sem comunicacao: ${error.message}`);
    return 2;
  }
}

process.exitCode = main();
