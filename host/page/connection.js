// The line to the host: one text line a message, opened again with growing pauses when it breaks.

const FIRST_PAUSE = 500;
const LONGEST_PAUSE = 15000;
// The host says the time every ten seconds; a line that stays silent longer is dead.
const LONGEST_SILENCE = 25000;
// The host closes the line on a longer message.
const LONGEST_MESSAGE = 64 * 1024;

/**
 * Opens the line, and again whenever it breaks. Calls `onLine(text)` for each line that comes, and
 * `onBreak(milliseconds)` when the line broke, with the pause before the next attempt. Returns a
 * function that sends a line, and says why if it cannot: a text, or `undefined` if the line is sent.
 */
export function connect(onLine, onBreak) {
  let socket;
  let silence;
  let pause = FIRST_PAUSE;

  function listen() {
    clearTimeout(silence);
    silence = setTimeout(() => socket.close(), LONGEST_SILENCE);
  }

  function open() {
    const scheme = location.protocol === 'https:' ? 'wss' : 'ws';
    socket = new WebSocket(`${scheme}://${location.host}/ws`);
    socket.onmessage = ({ data }) => {
      listen();
      // Not when it opens: a host that turns the page away would be asked without end.
      if (data === '! replay-end') pause = FIRST_PAUSE;
      onLine(data);
    };
    socket.onclose = () => {
      clearTimeout(silence);
      onBreak(pause);
      setTimeout(open, pause);
      pause = Math.min(pause * 2, LONGEST_PAUSE);
    };
    listen();
  }

  open();
  return (line) => {
    if (socket.readyState !== WebSocket.OPEN) return 'There is no connection to the host.';
    if (new TextEncoder().encode(line).length > LONGEST_MESSAGE) return 'That is too long for the host.';
    return socket.send(line);
  };
}
