// The words for what fails. Internal texts go to the console and to the details of a failed start.
'use strict';

const { FrameworkError, frameworkVersion } = require('zelectronframework');

/** @import { Diagnosis } from 'zelectronframework' */
/** @import { Failure } from 'zelectronframework/electron-main' */
/** @import { StartFailure } from './bridge.js' */

const otherwise = 'This did not work. Try again, or ask for help with the code.';

/** By the text of a "fail" reply, or by the code. */
const sentences = new Map([
  ['sign-in refused', 'This code is not valid.'],
  ['no authorization', 'The office suite did not allow the sign-in.'],
  ['account not found', 'This account is no longer known.'],
  ['not signed in', 'This account is not signed in.'],
  ['no office app', 'The office suite is not running.'],
  ['changeMeetingStatus fail', 'The office suite did not take the status.'],
  ['ZEF_TIMEOUT', 'There was no answer in time.'],
  ['ZEF_NOT_RUNNING', 'The application is still starting.'],
  ['ZEF_CLOSED', 'The application is closing.'],
]);

/** What is wrong with a start and what to do, by the code. */
const starts = [
  {
    codes: /QT|GLIBC|LIBSTDCXX|DEPENDENCY/,
    message: 'This system lacks something that the application needs.',
    remedy: 'Install the updates of the system and try again. The details name what is missing.',
  },
  {
    codes: /PLATFORM|ARCHITECTURE/,
    message: 'This application was made for another kind of computer.',
    remedy: 'Install the one for this computer.',
  },
  {
    codes: /MISSING|NAME|NOT_THE_LIBRARY|BAD_FILE|LOAD/,
    message: 'A part of the application is missing or damaged.',
    remedy: 'Install the application again.',
  },
  {
    codes: /./,
    message: 'The account service did not start.',
    remedy: 'Try again. If it happens once more, restart the computer.',
  },
];

/** A value of a page that is not accepted; its message is for users. */
class Refusal extends Error {}

/** @param {unknown} error @returns {Failure} */
function failureOf(error) {
  if (error instanceof Refusal) {
    return { code: 'NOT_ALLOWED', message: error.message || otherwise };
  }
  if (error instanceof FrameworkError) {
    const { code, reply } = error;
    return { code, message: sentences.get(reply?.msg ?? code) ?? otherwise };
  }
  console.error(error);
  return { code: 'INTERNAL', message: otherwise };
}

/**
 * For people, with details for those who help them.
 * @param {unknown} error @param {Diagnosis} found @param {boolean} isPackaged
 * @returns {StartFailure}
 */
function startFailureOf(error, found, isPackaged) {
  const { code, message, remedy } =
    error instanceof FrameworkError ? error : { code: 'INTERNAL', message: String(error) };
  const words = starts.find(({ codes }) => codes.test(code)) ?? starts[0];
  const others = found.findings.filter((finding) => finding.code !== code);
  return {
    code,
    message: words.message,
    remedy: words.remedy,
    details: [
      message.split('\n')[0],
      ...(remedy ? [`For developers: ${remedy}`] : []),
      ...others.map((finding) => `Also found, ${finding.code}: ${finding.message}`),
      `zelectronframework ${frameworkVersion}, ${found.platform}, ${found.system}`,
      ...(isPackaged ? [] : ['In a terminal, "npm run doctor" says more.']),
    ],
  };
}

module.exports = { Refusal, failureOf, startFailureOf };
