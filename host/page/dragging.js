// Ordering a list by dragging its rows with finger, pen or mouse.

// So near to the edge of the window, the page scrolls.
const EDGE = 60;

/** Calls `move(id, place)` when a row of `list` was dragged by its handle to another place. */
export function orderByDragging(list, move) {
  let drag = null; // { row, from, y, scrolling }: where on the page it was taken, where it is now

  const others = () => [...list.children].filter((row) => row !== drag.row);
  const middleOf = (row) => {
    const { top, height } = row.getBoundingClientRect();
    return top + height / 2;
  };
  const placeOfRow = () => others().filter((row) => middleOf(row) < middleOf(drag.row)).length;

  function mark(place) {
    const rows = others();
    rows.forEach((row, index) => {
      row.classList.toggle('before', index === place);
      row.classList.toggle('after', index === place - 1 && place === rows.length);
    });
  }

  function follow() {
    drag.row.style.translate = `0 ${drag.y + window.scrollY - drag.from}px`;
    mark(placeOfRow());
  }

  function scroll() {
    if (!drag.row.isConnected) return end();
    if (drag.y < EDGE) window.scrollBy(0, -8);
    if (drag.y > window.innerHeight - EDGE) window.scrollBy(0, 8);
    return follow();
  }

  function end() {
    if (!drag) return;
    mark(-1);
    clearInterval(drag.scrolling);
    drag.row.classList.remove('dragged');
    drag.row.style.translate = '';
    drag = null;
  }

  list.addEventListener('pointerdown', (event) => {
    const handle = event.target.closest('.handle');
    if (!handle || event.button !== 0 || drag) return;
    drag = { row: handle.closest('li'), from: event.pageY, y: event.clientY };
    drag.scrolling = setInterval(scroll, 16);
    drag.row.classList.add('dragged');
  });
  // Not on the list: the pointer may leave it, and the row may be put elsewhere meanwhile.
  document.addEventListener('pointermove', (event) => {
    if (!drag) return;
    drag.y = event.clientY;
    follow();
  });
  document.addEventListener('pointerup', (event) => {
    if (!drag) return;
    const id = Number(drag.row.dataset.id);
    const place = placeOfRow();
    const isMoved = Math.abs(event.pageY - drag.from) > 4;
    end();
    if (isMoved) move(id, place);
  });
  document.addEventListener('pointercancel', end);
  document.addEventListener('keydown', (event) => {
    if (event.key === 'Escape') end();
  });
}
