// On paper it is one page: laid out for that size before, and as it was after.
export function whilePrinting(layOut: () => () => void): void {
  let restore: (() => void) | undefined;
  window.addEventListener('beforeprint', () => {
    document.body.classList.add('printing');
    restore = layOut();
  });
  window.addEventListener('afterprint', () => {
    document.body.classList.remove('printing');
    restore?.();
  });
}
