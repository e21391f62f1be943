// A row whose button works with the second tap, or waits for the host.
import { say } from './view.js';

const ANSWER_TIME = 5000;
const QUESTION_TIME = 8000;

/** Shows the row's question for a while, or takes it back. `render()` shows rows as they are. */
export function ask(row, isAsking, render) {
  clearTimeout(row.asked);
  row.isAsking = isAsking;
  if (isAsking) row.asked = setTimeout(() => ask(row, false, render), QUESTION_TIME);
  // The button that was pressed is about to go.
  else if (row.contains(document.activeElement)) row.querySelector('.main').focus();
  render();
}

/** Marks the row as waiting for `what` until the host answers, or for a time. */
export function wait(row, what, render) {
  row.waiting = what;
  clearTimeout(row.unanswered);
  row.unanswered = setTimeout(() => {
    if (!row.waiting) return;
    row.waiting = null;
    say('The host has not answered. Please try again.');
    render();
  }, ANSWER_TIME);
  render();
}
