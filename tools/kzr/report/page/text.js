'use strict';

// How names, numbers and times are written. Names come from traces and may hold anything; they reach the page as text
// only, and what would not be seen, or would turn the text around it, is shown by its code.

/** Letters that are not seen or change the direction of what stands beside them. */
const unseenLetters = /[\p{Cc}\p{Cf}\p{Zl}\p{Zp}\p{Cs}\u115f\u1160\u3164\uffa0]/gu;
/** Letters of a name that lists and pictures show at most; details show all. */
const mostLetters = 120;

/** @returns {string} the code of a letter, as U+202E */
function codeOf(letter) {
  return 'U+' + letter.codePointAt(0).toString(16).toUpperCase().padStart(4, '0');
}

/** @returns {string} `text` up to `most` letters, with a sign that there is more */
function shorten(text, most = mostLetters) {
  if (text.length <= most) return text;
  let end = most - 1;
  const last = text.charCodeAt(end - 1);
  if (last >= 0xd800 && last < 0xdc00) --end;
  return text.slice(0, end) + '…';
}

/** @returns {string} a name for a place that takes plain text, such as a canvas or a label */
function plainName(name, most = mostLetters) {
  return shorten(name, most).replace(unseenLetters, (letter) => `[${codeOf(letter)}]`);
}

/** Puts a name into `element`, codes of unseen letters in boxes. */
function showName(element, name, most = mostLetters) {
  const text = shorten(name, most);
  const parts = [];
  let end = 0;
  for (const match of text.matchAll(unseenLetters)) {
    parts.push(text.slice(end, match.index), makeElement('span', 'code-point', codeOf(match[0])));
    end = match.index + match[0].length;
  }
  parts.push(text.slice(end));
  const isolated = document.createElement('bdi');
  isolated.append(...parts);
  element.replaceChildren(isolated);
  return element;
}

/** @returns {HTMLElement} a new element with a class and text, where given */
function makeElement(tag, className, text) {
  const element = document.createElement(tag);
  if (className) element.className = className;
  if (text !== undefined) element.textContent = text;
  return element;
}

/** @returns {string} digits in groups of three, for a number or a string of digits */
function groupDigits(number) {
  const [whole, part] = String(number).split('.');
  const grouped = whole.replace(/\B(?=(\d{3})+(?!\d))/g, '\u202f');
  return part ? `${grouped}.${part}` : grouped;
}

/** @returns {string} a number with up to `digits` digits that count, without an exponent */
function roundDigits(number, digits) {
  if (number === 0) return '0';
  const places = Math.min(20, Math.max(0, digits - 1 - Math.floor(Math.log10(Math.abs(number)))));
  const text = number.toFixed(places);
  return groupDigits(text.includes('.') ? text.replace(/\.?0+$/, '') : text);
}

/** @returns {string} a share of 1 in percent */
function percentText(share) {
  if (share === null || !Number.isFinite(share)) return '–';
  return `${roundDigits(share * 100, share < 0.001 ? 1 : share < 0.1 ? 2 : 3)}\u202f%`;
}

/** @returns {string} a number that is not known exactly, between two numbers that `text` writes */
function aboutText(least, most, text) {
  const [first, last] = [text(least), text(most)];
  return first === last ? `≈\u202f${first}` : `≈\u202f${first}–${last}`;
}

const timeUnits = [
  {name: 'ns', seconds: 1e-9}, {name: 'µs', seconds: 1e-6}, {name: 'ms', seconds: 1e-3}, {name: 's', seconds: 1},
];

/** Writes times: in units of time where the frequency of the clock is known, else in ticks. */
class TimeText {
  /** @param {?number} ticksPerSecond */
  constructor(ticksPerSecond) {
    this.ticksPerSecond = ticksPerSecond;
  }

  /** The unit for a number of ticks: its name and its length in ticks. */
  unitFor(ticks) {
    if (!this.ticksPerSecond) return {name: 'ticks', ticks: 1};
    const seconds = Math.abs(ticks) / this.ticksPerSecond;
    let unit = timeUnits[0];
    for (const other of timeUnits) if (seconds >= other.seconds) unit = other;
    return {name: unit.name, ticks: unit.seconds * this.ticksPerSecond};
  }

  /** @returns {string} a length of time, rounded to a few digits */
  short(ticks, digits = 4) {
    if (ticks === null || ticks === undefined) return '–';
    const number = Number(ticks);
    const unit = this.unitFor(number);
    if (!this.ticksPerSecond) return `${groupDigits(Math.round(number))}\u00a0${number === 1 ? 'tick' : 'ticks'}`;
    return `${roundDigits(number / unit.ticks, digits)}\u00a0${unit.name}`;
  }

  /** @returns {string} a length of time, and its exact ticks where that is not the same */
  long(ticks) {
    if (ticks === null || ticks === undefined) return '–';
    if (!this.ticksPerSecond) return `${groupDigits(ticks)} ticks`;
    return `${this.short(ticks)} (${groupDigits(ticks)} ticks)`;
  }
}

/** @returns {string} a number with the noun for it; nouns of more than one end in s */
function countText(number, noun) {
  return `${groupDigits(number)}\u00a0${noun}${Number(number) === 1 ? '' : 's'}`;
}
