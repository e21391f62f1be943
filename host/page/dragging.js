// Ordering a list by dragging its rows with finger, pen or mouse.

/** Calls `move(id, place)` when a row of `list` was dragged by its handle to another place. */
export function orderByDragging(list, move) {
  let drag = null;

  function placeOf(y) {
    const others = [...list.children].filter((row) => row !== drag.row);
    return others.filter((row) => {
      const { top, height } = row.getBoundingClientRect();
      return y > top + height / 2;
    }).length;
  }

  function mark(place) {
    const others = [...list.children].filter((row) => row !== drag.row);
    others.forEach((row, index) => {
      row.classList.toggle('before', index === place);
      row.classList.toggle('after', index === place - 1 && place === others.length);
    });
  }

  function end() {
    if (!drag) return;
    mark(-1);
    drag.row.classList.remove('dragged');
    drag.row.style.translate = '';
    drag = null;
  }

  list.addEventListener('pointerdown', (event) => {
    const handle = event.target.closest('.handle');
    if (!handle || event.button !== 0) return;
    handle.setPointerCapture(event.pointerId);
    drag = { row: handle.closest('li'), from: event.pageY };
    drag.row.classList.add('dragged');
  });
  list.addEventListener('pointermove', (event) => {
    if (!drag) return;
    drag.row.style.translate = `0 ${event.pageY - drag.from}px`;
    mark(placeOf(event.clientY));
  });
  list.addEventListener('pointerup', (event) => {
    if (!drag) return;
    const { row } = drag;
    const place = placeOf(event.clientY);
    const isMoved = Math.abs(event.pageY - drag.from) > 4;
    end();
    if (isMoved) move(Number(row.dataset.id), place);
  });
  list.addEventListener('pointercancel', end);
  document.addEventListener('keydown', (event) => {
    if (event.key === 'Escape') end();
  });
}
