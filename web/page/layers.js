/** What lies on the image: shutters, overlays, annotations, as the program draws them for this very view. */

import * as api from './api.js';
import { apply, inverse } from './geometry.js';

const kRest = 100;  // ms without a change before they are drawn anew

/** @param {HTMLCanvasElement} canvas over the image @param {import('./view.js').Viewer} viewer */
export function makeLayers(canvas, viewer) {
    const context = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d'));
    /** The view that they were drawn for. */
    let drawnFor = viewer.toScreen;
    /** @type {import('./api.js').ListedImage?} */
    let of = null;
    let timer = 0;

    const clear = () => {
        of = null;
        context.clearRect(0, 0, canvas.width, canvas.height);
    };

    /** They move with the image until they are drawn anew. */
    const move = () => {
        const from = inverse(drawnFor), to = viewer.toScreen, scale = devicePixelRatio;
        const origin = apply(to, from.e, from.f);
        const part = [to.a * from.a + to.c * from.b, to.b * from.a + to.d * from.b,
                      to.a * from.c + to.c * from.d, to.b * from.c + to.d * from.d];
        canvas.style.transform = `matrix(${[...part, origin.x / scale, origin.y / scale]})`;
    };

    const ask = api.latest(async (/** @type {null} */ _) => {
        const { image, frame, options, regions, overlays, screen, opened, toScreen } = viewer;
        if (!image || !opened?.layers.length) return clear();
        try {
            const view = viewer.programView;
            const { x, y, picture } =
                await api.layers({ id: image.id, frame, options, regions, overlays, view });
            if (image !== viewer.image || frame !== viewer.frame) return;
            canvas.width = screen.width;
            canvas.height = screen.height;
            if (picture) context.putImageData(picture, x, y);
            [drawnFor, of] = [toScreen, image];
            move();
        } catch {
            // Options that cannot be used are said where they are chosen.
            clear();
        }
    });

    const later = () => {
        clearTimeout(timer);
        if (viewer.opened?.layers.length) timer = setTimeout(() => ask(null), kRest);
    };
    viewer.addEventListener('image', () => {
        if (of !== viewer.image) clear();
        clearTimeout(timer);
        ask(null);
    });
    viewer.addEventListener('view', move);
    for (const what of ['view', 'window', 'regions', 'overlays', 'size'])
        viewer.addEventListener(what, later);
}
