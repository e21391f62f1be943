// The question before something is lost.

const byId = (id) => document.getElementById(id);
const dialog = byId('question');

/**
 * Asks with a title and a text, and the words for both answers. `act()` is called for the second, and
 * may return why it cannot be done.
 */
export function ask(title, text, no, yes, act) {
  byId('question-title').textContent = title;
  byId('question-text').textContent = text;
  byId('question-no').textContent = no;
  byId('question-yes').textContent = yes;
  dialog.querySelector('form').onsubmit = (event) => {
    event.preventDefault();
    const problem = act();
    if (problem) byId('question-text').textContent = problem;
    else dialog.close();
  };
  dialog.showModal();
}

byId('question-no').onclick = () => dialog.close();
