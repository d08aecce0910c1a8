/** The colour bar beside the image and the histogram with the window on it. */

import { histogram, latest } from './api.js';
import { byId, draggable, fitted, onceAFrame } from './dom.js';
import { shown } from './view.js';

/** @type {Record<string, number>} */
const kKeys = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10 };

/**
 * Round values between two ends, at most about count of them.
 * @param {number} low
 * @param {number} high
 * @param {number} count
 */
export function ticks(low, high, count) {
    const rough = (high - low) / count;
    if (!(rough > 0) || !Number.isFinite(rough)) return [];
    const power = 10 ** Math.floor(Math.log10(rough));
    const step = power * (/** @type {number} */ ([1, 2, 5, 10].find((n) => n * power >= rough * 0.999)));
    const first = Math.ceil(low / step - 1e-9), last = Math.floor(high / step + 1e-9);
    return Array.from({ length: last - first + 1 }, (_, i) => Number(((first + i) * step).toPrecision(12)));
}

/** @param {HTMLCanvasElement} bar @param {import('./view.js').Viewer} viewer */
export function makeColourBar(bar, viewer) {
    const draw = onceAFrame(() => {
        const context = fitted(bar), { table, opened } = viewer;
        if (!table || !opened) return;
        const font = parseFloat(getComputedStyle(bar).fontSize) * 0.86;
        const width = font, margin = font;
        const height = bar.clientHeight - 2 * margin, left = bar.clientWidth - width;
        const { low, high } = table.windows[0], rescale = opened.values?.list[0];
        if (!rescale?.slope) return;
        for (let y = 0; y < height; ++y) {
            const value = high - (y + 0.5) / height * (high - low);
            const index = Math.round((value - rescale.intercept) / rescale.slope) - table.first;
            const at = 4 * Math.max(0, Math.min(table.entries - 1, index));
            context.fillStyle = `rgb(${table.colours[at]} ${table.colours[at + 1]} ${table.colours[at + 2]})`;
            context.fillRect(left, margin + y, width, Math.min(1.5, height - y));
        }
        context.strokeStyle = '#7f8b95';
        context.strokeRect(left - 0.5, margin - 0.5, width + 1, height + 1);
        context.font = `${font}px ${getComputedStyle(bar).fontFamily}`;
        context.textAlign = 'right';
        context.textBaseline = 'middle';
        context.lineJoin = 'round';
        const write = (/** @type {string} */ text, /** @type {number} */ y) => {
            context.lineWidth = 3;
            context.strokeStyle = '#000';
            context.strokeText(text, left - 7, y);
            context.fillStyle = '#d5dce1';
            context.fillText(text, left - 7, y);
        };
        for (const tick of ticks(low, high, Math.max(2, Math.min(8, height / (4 * font))))) {
            const y = margin + (high - tick) / (high - low) * height;
            context.fillStyle = '#d5dce1';
            context.fillRect(left - 5, y - 0.5, 4, 1);
            write(shown(tick), y);
        }
    });
    for (const what of ['image', 'window']) viewer.addEventListener(what, draw);
    new ResizeObserver(draw).observe(bar);
}

/** @param {import('./view.js').Viewer} viewer */
export function makeHistogram(viewer) {
    const box = byId('histogram'), canvas = box.querySelector('canvas');
    const ends = /** @type {HTMLElement[]} */ ([...box.querySelectorAll('.end')]);
    /** @type {{low: number, high: number, bins: number[]}?} */
    let data = null;
    let of = '';
    const ask = latest(async (/** @type {string} */ key) => {
        const { image, frame, options } = viewer;
        const found = image && await histogram(image.id, frame, options.state).catch(() => null);
        if (key === of) { data = found; draw(); }
    });

    const draw = onceAFrame(() => {
        const context = fitted(canvas), { window } = viewer;
        const { clientWidth: width, clientHeight: height } = canvas;
        box.parentElement.hidden = !viewer.isGrey;
        byId('least').textContent = data ? shown(data.low) : '';
        byId('most').textContent = data ? `${shown(data.high)} ${viewer.units}` : '';
        for (const end of ends) end.hidden = !data || !window;
        if (!data || !window) return;
        const { low, high, bins } = data, style = getComputedStyle(canvas);
        /** @param {number} value */
        const place = (value) => Math.max(0, Math.min(1, (value - low) / (high - low || 1)));
        const edges = [window.center - window.width / 2, window.center + window.width / 2];
        context.fillStyle = style.getPropertyValue('--accent');
        context.globalAlpha = 0.18;
        context.fillRect(place(edges[0]) * width, 0, (place(edges[1]) - place(edges[0])) * width, height);
        context.globalAlpha = 1;
        context.fillStyle = style.getPropertyValue('--quiet');
        // By the logarithm, so that air does not hide everything else.
        const most = Math.log1p(Math.max(1, ...bins));
        bins.forEach((count, i) => {
            const bar = Math.log1p(count) / most * (height - 4);
            context.fillRect(i * width / bins.length, height - bar, width / bins.length + 0.3, bar);
        });
        ends.forEach((end, i) => {
            end.style.left = `${place(edges[i]) * 100}%`;
            // Without an exponent, which these attributes do not take.
            const text = (/** @type {number} */ value) => value.toFixed(6);
            Object.assign(end, { ariaValueMin: text(i ? edges[0] : Math.min(low, edges[0])),
                                 ariaValueMax: text(i ? Math.max(high, edges[1]) : edges[1]),
                                 ariaValueNow: text(edges[i]),
                                 ariaValueText: `${shown(edges[i])} ${viewer.units}` });
        });
    });

    /** @param {number} i @param {number} value */
    const moveTo = (i, value) => {
        if (!viewer.window || !data) return;
        const { center, width } = viewer.window, range = data.high - data.low, step = range / 1000;
        const other = center + (i ? -width : width) / 2;
        const kept = i ? Math.max(value, other + step) : Math.min(value, other - step);
        const end = Number(kept.toFixed(range >= 100 ? 0 : 4));
        viewer.select(-1);
        viewer.setWindow({ center: (end + other) / 2, width: Math.abs(other - end) });
    };
    ends.forEach((end, i) => {
        draggable(end, (event) => {
            const { left, width } = canvas.getBoundingClientRect();
            if (data) moveTo(i, data.low + (event.clientX - left) / width * (data.high - data.low));
        });
        end.addEventListener('keydown', (event) => {
            const by = kKeys[event.key];
            if (!by || !viewer.window || !data) return;
            const { center, width } = viewer.window;
            moveTo(i, center + (i ? width : -width) / 2 + by * Math.max((data.high - data.low) / 256, 1e-4));
            event.preventDefault();
            event.stopPropagation();
        });
    });
    viewer.addEventListener('image', () => {
        const key = viewer.isGrey ? `${viewer.image?.id} ${viewer.frame} ${viewer.options.state}` : '';
        if (key !== of) {
            of = key;
            data = null;
            if (key) ask(key);
        }
        draw();
    });
    viewer.addEventListener('window', draw);
    new ResizeObserver(draw).observe(canvas);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', draw);
}
