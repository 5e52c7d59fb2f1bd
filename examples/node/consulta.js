'use strict';
// The shortest call: asks whether the device works. Ends with 0 when it answered.

const { Sat, newSession } = require('./zantir');

try {
  const reply = new Sat().call('ConsultarSAT', newSession());
  console.log(reply.code, reply.message);
} catch (error) { // not loaded, or not reached
  console.error(error.message);
  process.exitCode = 1;
}
