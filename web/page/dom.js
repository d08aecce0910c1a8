/** Small helpers for the elements of the page. */

/** @param {string} id @returns {any} the element of the page; it is there */
export const byId = (id) => document.getElementById(id);

/** @param {string} tag @param {object=} properties @param {(Node | string)[]} children @returns {any} */
export function element(tag, properties, ...children) {
    const made = Object.assign(document.createElement(tag), properties);
    made.append(...children);
    return made;
}

/**
 * Fits the bitmap of a canvas to its box.
 * @param {HTMLCanvasElement} canvas
 * @returns {CanvasRenderingContext2D} in CSS pixels
 */
export function fitted(canvas) {
    const scale = devicePixelRatio;
    canvas.width = Math.round(canvas.clientWidth * scale);
    canvas.height = Math.round(canvas.clientHeight * scale);
    const context = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d'));
    context.scale(scale, scale);
    return context;
}

/**
 * Drags with capture of the pointer.
 * @param {HTMLElement} where
 * @param {(event: PointerEvent) => void} move
 */
export function draggable(where, move) {
    where.addEventListener('pointerdown', (event) => {
        where.setPointerCapture(event.pointerId);
        where.focus();
        event.preventDefault();
    });
    where.addEventListener('pointermove', (event) => {
        if (where.hasPointerCapture(event.pointerId)) move(event);
    });
}

/**
 * Runs a function once before the next frame is drawn, however often it is asked for.
 * @param {() => void} run
 */
export function onceAFrame(run) {
    let isWaiting = false;
    return () => {
        if (isWaiting) return;
        isWaiting = true;
        requestAnimationFrame(() => { isWaiting = false; run(); });
    };
}
