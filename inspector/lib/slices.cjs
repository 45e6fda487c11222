'use strict';

const { setImmediate: turn } = require('node:timers/promises');

const sliceMilliseconds = 4;

/**
 * For long loops in an application that has other things to do.
 * @returns a function that returns a promise whenever the event loop should have a turn
 */
function slices() {
  let begin = performance.now();
  return () => {
    if (performance.now() - begin < sliceMilliseconds) return undefined;
    return turn().then(() => {
      begin = performance.now();
    });
  };
}

module.exports = { slices };
