// The line to the host, opened again with growing pauses when it breaks. A message to the host is one
// text line, one from the host is one or several.

const FIRST_PAUSE = 500;
const LONGEST_PAUSE = 15000;
// The host says the time every ten seconds; a line that stays silent longer is dead.
const LONGEST_SILENCE = 25000;
// The host closes the line on a longer message.
const LONGEST_MESSAGE = 64 * 1024;
const PROBE_TIME = 5000;

/**
 * Whether the host is there, but full. A page cannot see the status that refused its WebSocket, so
 * a plain request asks: the host answers 503 then.
 */
async function isHostFull(path) {
  try {
    const { status } = await fetch(path, { signal: AbortSignal.timeout(PROBE_TIME) });
    return status === 503;
  } catch {
    return false;
  }
}

/**
 * Opens the line of a role, and again whenever it breaks. Calls `onLine(text)` for each line that
 * comes, and `onBreak(milliseconds, isFull)` when the line broke, with the pause before the next
 * attempt, and whether the host refused the attempt because it is full. Returns a function that sends a line, and
 * says why if it cannot: a text, or `undefined` if the line is sent.
 */
export function connect(role, onLine, onBreak) {
  const path = `/ws/${role}`;
  let socket;
  let silence;
  let pause = FIRST_PAUSE;

  function listen() {
    clearTimeout(silence);
    silence = setTimeout(() => socket.close(), LONGEST_SILENCE);
  }

  function open() {
    const scheme = location.protocol === 'https:' ? 'wss' : 'ws';
    socket = new WebSocket(`${scheme}://${location.host}${path}`);
    socket.onmessage = ({ data }) => {
      listen();
      for (const line of data.split('\n')) {
        // Not when it opens: a host that turns the page away would be asked without end.
        if (line === '! replay-end') pause = FIRST_PAUSE;
        onLine(line);
      }
    };
    let isOpened = false;
    socket.onopen = () => (isOpened = true);
    socket.onclose = async () => {
      clearTimeout(silence);
      onBreak(pause, !isOpened && (await isHostFull(path)));
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
