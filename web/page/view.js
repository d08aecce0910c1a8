/** What is shown and how: the one state of the page. Says by events what has changed. */

import * as api from './api.js';
import { imageSize, imageToScreen, plainView, zoomOf } from './geometry.js';
import { moved } from './shapes.js';

/** @typedef {import('./api.js').ListedImage} ListedImage @typedef {import('./api.js').Options} Options
 *  @typedef {import('./geometry.js').View} View
 *  @typedef {{opened: import('./api.js').Opened, pixels: import('./api.js').Pixels}} Loaded */

const kWindowKeys = ['center', 'width', 'auto', 'preset', 'voi'];
const kCacheBytes = 256 << 20;

/**
 * The options with another window in place of theirs.
 * @param {Options} options
 * @param {Options} window
 * @returns {Options}
 */
export function withWindow(options, window) {
    const rest = Object.entries(options).filter(([key]) => !kWindowKeys.includes(key));
    return { ...Object.fromEntries(rest), ...window };
}

/** The window that a drag by (dx, dy) leads to: 1000 pixels sweep the range of the image's values.
 * @param {{center: number, width: number}} from @param {number} dx @param {number} dy
 * @param {number} range */
export function draggedWindow(from, dx, dy, range) {
    const step = range / 1000;
    const digits = range >= 100 ? 0 : Math.min(6, 3 - Math.floor(Math.log10(range)));
    const round = (/** @type {number} */ value) => Number(value.toFixed(digits));
    return { center: round(from.center - dy * step),
             width: Math.max(digits ? 10 ** -digits : 1, round(from.width + dx * step)) };
}

/** @param {import('./api.js').Table?} table */
const windowOf = (table) => table && { center: table.window.center, width: table.window.width };

/** The value after rescale; null where a Modality LUT has its place, as the ends of the frame's values show.
 * @param {number} stored @param {any} info @returns {number?} */
export function modalityValue(stored, info) {
    const { storedRange, modalityRange, rescaleSlope: slope, rescaleIntercept: intercept } = info;
    const off = storedRange && modalityRange
        ? (storedRange.min + storedRange.max) * slope + 2 * intercept - modalityRange.min - modalityRange.max
        : 0;
    const tolerance = 2 + Math.abs(slope);  // the intercept is a whole number here
    return Math.abs(off) > tolerance || !slope ? null : stored * slope + intercept;
}

/** A number of at most four significant decimals, with a true minus sign. @param {number} value */
export function shown(value) {
    const size = Math.abs(value), digits = size >= 1000 ? 1 : size >= 10 ? 2 : 4;
    return String(Number(value.toFixed(digits))).replace('-', '\u2212');
}

/** Events: images, loading, image, window (or another option), view, regions, tool, hover, size. */
export class Viewer extends EventTarget {
    /** @type {ListedImage[]} */ images = [];
    /** @type {ListedImage?} */ image = null;
    frame = 0;
    /** @type {import('./api.js').Opened?} */ opened = null;
    /** @type {import('./api.js').Pixels?} */ pixels = null;
    /** @type {import('./api.js').Table?} */ table = null;
    /** The window, ahead of the table while it changes. @type {{center: number, width: number}?} */
    window = null;
    /** @type {Options} */ options = {};
    view = plainView();
    tool = 'window';
    fault = '';
    /** The region that is selected, or -1. */
    selected = -1;
    /** Of the device's pixels. */
    screen = { width: 1, height: 1 };
    /** The pixel under the pointer or the cross. @type {{x: number, y: number}?} */ hover = null;
    /** The outline that is being drawn. */
    draft = '';

    /** Of each series: how it is shown. @type {Map<string, {options: Options, view: View}>} */
    #ofSeries = new Map();
    /** @type {Map<number, import('./api.js').Region[]>} */
    #ofImage = new Map();
    /** @type {Map<string, {promise: Promise<Loaded>, bytes: number}>} */
    #cache = new Map();
    /** The image and shapes of the latest table, and so of the labels on the page. */
    #labelsOf = '';
    /** The image asked for last. @type {{image: ListedImage, frame: number}?} */
    #wanted = null;
    #load = api.latest((/** @type {{image: ListedImage, frame: number}} */ what) => this.#loadNow(what));
    #update = api.latest((/** @type {boolean} */ _) => this.#updateNow());

    get regions() { return this.image ? this.#ofImage.get(this.image.id) ?? [] : []; }
    get isGrey() { return this.opened !== null && !this.opened.pixels.colour; }
    /** Shown until the options say otherwise. */
    get ownWindow() {
        const info = this.opened?.info;
        return { center: info?.modalityCenter ?? info?.center, width: info?.modalityWidth ?? info?.width };
    }
    get range() {
        const range = this.opened?.info.modalityRange;
        return range && range.max > range.min ? range.max - range.min : 4096;
    }
    get size() {
        const { width, height } = this.opened?.pixels ?? { width: 1, height: 1 };
        return imageSize(width, height, this.opened?.info.pixelSpacing ?? null);
    }
    get zoom() { return zoomOf(this.view, this.size, this.screen); }
    get toScreen() { return imageToScreen(this.view, this.size, this.screen); }
    get units() { return this.table?.window.units ?? this.opened?.info.units ?? ''; }

    /** @param {string} what */
    say(what) { this.dispatchEvent(new Event(what)); }

    /** @param {ListedImage[]} images */
    setImages(images) {
        const known = new Map(this.images.map((image) => [image.id, image]));
        this.images = images.map((image) => known.get(image.id) ?? image);
        this.say('images');
        const first = this.images.find((image) => !image.error);
        if (!this.#wanted && first) this.show(first, 0);
    }

    /** @param {ListedImage} image @param {number} frame */
    show(image, frame) {
        this.#wanted = { image, frame };
        this.say('loading');
        this.#load(this.#wanted);
    }

    /** From the cache, where it becomes the newest. @param {ListedImage} image @param {number} frame
     * @param {boolean | undefined} state @returns {Promise<Loaded>} */
    #fetch(image, frame, state) {
        const key = `${image.id}:${frame}:${state}`, old = this.#cache.get(key);
        const promise = old?.promise ?? this.#fetchNow(image, frame, state, key);
        this.#cache.delete(key);
        this.#cache.set(key, { promise, bytes: old?.bytes ?? 0 });
        return promise;
    }

    /** @param {ListedImage} image @param {number} frame @param {boolean | undefined} state
     * @param {string} key @returns {Promise<Loaded>} */
    async #fetchNow(image, frame, state, key) {
        try {
            const asked = api.open(image.id, frame, { state });
            const [opened, buffer] = await Promise.all([asked, api.pixels(image.id, frame, state)]);
            const entry = this.#cache.get(key);
            if (entry) entry.bytes = buffer.byteLength;
            let bytes = 0;
            for (const [other, held] of [...this.#cache].reverse())
                if ((bytes += held.bytes) > kCacheBytes && other !== key) this.#cache.delete(other);
            return { opened, pixels: api.typedPixels(buffer, opened.pixels) };
        } catch (error) {
            this.#cache.delete(key);
            throw error;
        }
    }

    /** Everything that belongs to an image changes at once, when all of it is there.
     * @param {{image: ListedImage, frame: number}} what */
    async #loadNow({ image, frame }) {
        const keyOf = (/** @type {ListedImage} */ of) => of.series || `image ${of.id}`;
        const last = this.image, isNewSeries = !last || keyOf(last) !== keyOf(image);
        const own = isNewSeries ? this.#ofSeries.get(keyOf(image)) : this;
        const { options, view } = own ?? { options: {}, view: plainView() };
        let found = { opened: null, pixels: null, table: null, window: null, fault: image.error ?? '' };
        try {
            if (!image.error) {
                const { opened, pixels } = await this.#fetch(image, frame, options.state);
                const table = opened.pixels.colour ? null : await this.#askTable(image, frame, options, true);
                Object.assign(found, { opened, pixels, table, window: windowOf(table) });
            }
        } catch (error) {
            found.fault = /** @type {Error} */ (error).message;
        }
        if (isNewSeries) {
            if (last) this.#ofSeries.set(keyOf(last), { options: this.options, view: this.view });
            Object.assign(this, { options, view });
        }
        if (last?.id !== image.id) this.selected = -1;
        Object.assign(this, found, { image, frame });
        this.say('image');
        if (options !== this.options) this.#update(true);
        const next = this.#placeBy(1, false);
        // A failure shows when it is opened.
        if (next) this.#fetch(next.image, next.frame, options.state).catch(() => {});
    }

    /** @param {ListedImage} image @param {number} frame @param {Options} options @param {boolean} isNew */
    async #askTable(image, frame, options, isNew) {
        const regions = this.#ofImage.get(image.id) ?? [];
        const shapes = `${image.id}:${frame} ${regions.map((region) => region.shape).join(' ')}`;
        const labels = regions.length > 0 && (isNew || shapes !== this.#labelsOf);
        const table = await api.table(image.id, frame, options, regions, labels);
        this.#labelsOf = shapes;
        return table;
    }

    async #updateNow() {
        const { image, frame, options } = this;
        if (!image || !this.isGrey) return;
        try {
            const table = await this.#askTable(image, frame, options, false);
            if (image !== this.image || frame !== this.frame) return;
            this.table = table;
            if (options === this.options) this.window = windowOf(table);
            this.fault = '';
        } catch (error) {
            this.fault = /** @type {Error} */ (error).message;
        }
        this.say('window');
    }

    /** @param {Options} options */
    setOptions(options) {
        if (!this.isGrey) return;
        this.options = options;
        if (options.center !== undefined && options.width !== undefined)
            this.window = { center: options.center, width: options.width };
        this.say('window');
        this.#update(true);
    }

    /** The window of the selected region, else of the image. */
    get target() {
        const { center, width } = this.regions[this.selected]?.options ?? {};
        return center !== undefined && width !== undefined ? { center, width } : this.window;
    }

    /** A window for the selected region, else for the image. @param {Options} window */
    setWindow(window) {
        const region = this.regions[this.selected];
        if (region) this.setRegion(this.selected, { ...region, options: withWindow(region.options, window) });
        else this.setOptions(withWindow(this.options, window));
    }

    /** @param {keyof Options} key @param {any} value undefined: as the image has it */
    setOption(key, value) {
        const options = { ...this.options, [key]: value };
        if (value === undefined) delete options[key];
        this.setOptions(options);
    }

    resetAll() {
        this.setView(plainView());
        if (this.options.state === undefined) this.setOptions({});
        else this.setState(true);
    }

    /** Opens the image anew, with its presentation states or without. @param {boolean} isUsed */
    setState(isUsed) {
        this.options = isUsed ? {} : { state: false };
        if (this.image) this.show(this.image, this.frame);
    }

    /** @param {View} view */
    setView(view) {
        this.view = view;
        this.say('view');
    }

    /** @param {string} tool */
    setTool(tool) {
        this.tool = tool;
        this.say('tool');
    }

    /** @param {import('./api.js').Region[]} regions @param {number} selected */
    setRegions(regions, selected) {
        if (!this.image || !this.isGrey) return;
        this.#ofImage.set(this.image.id, regions);
        this.selected = selected;
        this.say('regions');
        this.#update(true);
    }

    /** @param {number} at @param {import('./api.js').Region} region */
    setRegion(at, region) { this.setRegions(this.regions.map((old, i) => (i === at ? region : old)), at); }

    /** @param {number} at */
    select(at) {
        this.selected = at;
        this.say('regions');
    }

    /** @param {number} at @param {number} dx @param {number} dy */
    moveRegion(at, dx, dy) {
        const region = this.regions[at];
        this.setRegion(at, { ...region, shape: moved(region.shape, dx, dy) });
    }

    /** The frames of an image with several, else the images of its series. */
    get places() {
        const { image } = this;
        if (!image) return [];
        if (image.frames > 1) return Array.from({ length: image.frames }, (_, frame) => ({ image, frame }));
        const isNear = (/** @type {ListedImage} */ other) => !other.error && other.series === image.series;
        return this.images.filter((other) => other === image || image.series && isNear(other))
            .map((other) => ({ image: other, frame: 0 }));
    }

    /** @param {number} by @param {boolean} isRound from the last on to the first */
    #placeBy(by, isRound) {
        const { places } = this, now = this.#wanted;
        const at = places.findIndex(({ image, frame }) => image === now?.image && frame === now.frame) + by;
        return places[isRound ? (at + places.length) % places.length : at];
    }

    /** To another of the places. @param {number} by @param {boolean=} isRound from the last on to the first
     */
    step(by, isRound = false) {
        const next = this.#placeBy(by, isRound);
        if (next) this.show(next.image, next.frame);
    }

    /** To another image of the list. @param {number} by */
    stepImage(by) {
        const next = this.#wanted && this.images[this.images.indexOf(this.#wanted.image) + by];
        if (next) this.show(next, 0);
    }

    /** @param {{x: number, y: number}?} at */
    setHover(at) {
        const { width, height } = this.size;
        const isIn = at && this.opened && at.x >= 0 && at.y >= 0 && at.x < width && at.y < height;
        this.hover = isIn ? { x: Math.floor(at.x), y: Math.floor(at.y) } : null;
        this.say('hover');
    }

    /** @param {string} shape */
    setDraft(shape) {
        this.draft = shape;
        this.say('view');
    }

    /** @param {string} shape */
    addRegion(shape) {
        this.draft = '';
        const region = { shape, options: this.window ? { ...this.window } : {} };
        this.setRegions([...this.regions, region], this.regions.length);
        this.setTool('select');
    }
}
