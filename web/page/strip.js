/**
 * The strip of images: thumbnails in groups of a series. The tab key stops at the image that is shown only.
 */

import { open, thumbAddress, withoutFolder } from './api.js';
import { element } from './dom.js';

/** What a dragged thumbnail carries: the number of its image. */
export const kDragType = 'application/x-zev-image';

/** @param {HTMLElement} strip @param {import('./view.js').Viewer} viewer */
export function makeStrip(strip, viewer) {
    /** @type {Map<number, HTMLButtonElement>} */
    const buttons = new Map();
    const images = element('div'), bar = element('div', { className: 'fill' });
    const text = element('span'), look = { role: 'progressbar', ariaValueMin: '0', hidden: true };
    const progress = element('div', { className: 'progress', ...look, ariaLabel: 'Progress' }, bar, text);
    strip.append(progress, images);

    /** @param {import('./api.js').ListedImage} image */
    const buttonOf = (image) => {
        const old = buttons.get(image.id);
        if (old) return old;
        const name = image.name.split('/').pop() ?? image.name;
        const button = element('button', { type: 'button', title: image.name, tabIndex: -1 });
        const refuse = (/** @type {string} */ reason) => {
            button.classList.add('broken');
            button.replaceChildren(element('b', {}, name), withoutFolder(reason).replace(`${name}: `, ''));
        };
        if (image.error) {
            refuse(image.error);
        } else {
            const frames = image.frames > 1 ? `${image.frames} frames` : '';
            // What is wrong shows in the pixels at times, not before.
            const onerror = () => open(image.id, 0, {}).catch((error) => refuse(error.message));
            const src = thumbAddress(image.id);
            const look = { src, alt: '', loading: 'lazy', decoding: 'async', onerror };
            button.append(element('img', look),
                element('span', { className: 'label' },
                    element('span', {}, name), element('span', {}, frames)));
        }
        button.onclick = () => viewer.show(image, 0);
        button.draggable = true;
        button.ondragstart = (/** @type {DragEvent} */ event) =>
            event.dataTransfer?.setData(kDragType, String(image.id));
        buttons.set(image.id, button);
        return button;
    };

    const fill = () => {
        const parts = [];
        let list = element('ul'), last = '';
        for (const image of viewer.images) {
            const group = `${image.study} ${image.series || image.seriesText}`;
            if (!parts.length || group !== last) {
                last = group;
                const title = [image.modality, image.seriesText].filter(Boolean).join(' ') || 'Other files';
                list = element('ul', { ariaLabel: title });
                parts.push(element('h3', {}, title, element('small', {}, image.studyText)), list);
            }
            list.append(element('li', {}, buttonOf(image)));
        }
        if (!parts.length) parts.push(element('p', { className: 'quiet' }, 'No image yet'));
        const focus = /** @type {HTMLElement?} */ (strip.querySelector(':focus'));
        images.replaceChildren(...parts);
        focus?.focus();
        mark();
    };

    const mark = () => {
        for (const [id, button] of buttons) {
            const isShown = id === viewer.image?.id;
            button.ariaCurrent = String(isShown);
            button.tabIndex = isShown ? 0 : -1;
        }
    };

    strip.addEventListener('keydown', (event) => {
        const by = { ArrowDown: 1, ArrowRight: 1, ArrowUp: -1, ArrowLeft: -1 }[event.key];
        if (!by || event.ctrlKey || event.altKey) return;
        const all = viewer.images.map(buttonOf);
        all[all.indexOf(/** @type {HTMLButtonElement} */ (document.activeElement)) + by]?.focus();
        event.preventDefault();
        event.stopPropagation();
    });
    viewer.addEventListener('images', fill);
    viewer.addEventListener('image', () => {
        mark();
        if (viewer.image) buttons.get(viewer.image.id)?.scrollIntoView({ block: 'nearest' });
    });
    /** How far the program is.
     * @param {string} what @param {number} done @param {number} all */
    return (what, done, all) => {
        progress.hidden = done >= all;
        text.textContent = `${what} ${done} of ${all}`;
        bar.style.width = `${100 * done / Math.max(1, all)}%`;
        Object.assign(progress, { ariaValueNow: done, ariaValueMax: all, ariaValueText: text.textContent });
    };
}
