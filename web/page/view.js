/** What is shown and how: the one state of the page. Says by events what has changed. */

import * as api from './api.js';
import { imageSize, imageToScreen, plainView, programView, zoomOf } from './geometry.js';
import { moved, reshaped } from './shapes.js';

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
const windowOf = (table) => table && { center: table.windows[0].center, width: table.windows[0].width };

/** What a pixel value is; null where it is not defined.
 * @param {import('./api.js').PixelValue} value @param {number} pixel @returns {number?} */
export function valueOf({ slope, intercept, first, last, table }, pixel) {
    if (first !== null && last !== null && !(pixel >= first && pixel <= last)) return null;
    return table ? table[Math.floor(pixel - (first ?? 0))] ?? null : pixel * slope + intercept;
}

/** A number of at most four significant decimals, with a true minus sign.
 * @param {number} value */
export function shown(value) {
    const size = Math.abs(value), digits = size >= 1000 ? 1 : size >= 10 ? 2 : 4;
    return String(Number(value.toFixed(digits))).replace('-', '\u2212');
}

/** @param {import('./api.js').Opened} a @param {import('./api.js').Opened} b */
const isSamePlace = (a, b) => JSON.stringify(a.placement) === JSON.stringify(b.placement);

/** What the viewers of a page have in common. */
export class Shared {
    /** @type {ListedImage[]} */ images = [];
    tool = 'window';
    /** Overlays and annotations are shown. */
    overlays = true;
    /** Of each series: how it is shown.
     * @type {Map<string, {options: Options, view: View}>} */
    ofSeries = new Map();
    /** Of each image.
     * @type {Map<number, import('./api.js').Region[]>} */
    regions = new Map();
    /** @type {Map<string, {promise: Promise<Loaded>, bytes: number}>} */
    cache = new Map();
}

/** Events: images, loading, image, options (changed by hand), window (or another option), view, regions,
 *  tool, overlays, hover, size, fault, close (a polygon). */
export class Viewer extends EventTarget {
    /** @type {ListedImage?} */ image = null;
    frame = 0;
    /** @type {import('./api.js').Opened?} */ opened = null;
    /** @type {import('./api.js').Pixels?} */ pixels = null;
    /** @type {import('./api.js').Table?} */ table = null;
    /** The window, ahead of the table while it changes.
     * @type {{center: number, width: number}?} */
    window = null;
    /** @type {Options} */ options = {};
    view = plainView();
    fault = '';
    /** The region that is selected, or -1, and its handle. */
    selected = -1;
    handle = -1;
    /** Of the device's pixels. */
    screen = { width: 1, height: 1 };
    /** The pixel under the pointer or the cross.
     * @type {{x: number, y: number}?} */ hover = null;
    /** The outline that is being drawn. */
    draft = '';

    /** The image and shapes of the latest table, and so of the labels on the page. */
    #labelsOf = '';
    /** The image asked for last.
     * @type {{image: ListedImage, frame: number}?} */
    #wanted = null;
    #load = api.latest((/** @type {{image: ListedImage, frame: number}} */ what) => this.#loadNow(what));
    #update = api.latest((/** @type {boolean} */ _) => this.#updateNow());

    /** @param {Shared} shared */
    constructor(shared) {
        super();
        this.shared = shared;
    }

    get images() { return this.shared.images; }
    get tool() { return this.shared.tool; }
    get overlays() { return this.shared.overlays; }
    get regions() { return this.image ? this.shared.regions.get(this.image.id) ?? [] : []; }
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
        return imageSize(width, height, this.opened?.placement ?? null, globalThis.devicePixelRatio);
    }
    get programView() { return programView(this.view, this.size, this.screen); }
    /** The window that is shown and what is known of it, of the selected region or else of the image. */
    get tableWindow() { return this.table?.windows[this.selected + 1] ?? this.table?.windows[0] ?? null; }
    get zoom() { return zoomOf(this.view, this.size, this.screen); }
    get toScreen() { return imageToScreen(this.view, this.size, this.screen); }
    get units() { return this.table?.windows[0].units ?? this.opened?.info.units ?? ''; }

    /** @param {string} what */
    say(what) { this.dispatchEvent(new Event(what)); }

    /** The list has changed. */
    takeImages() {
        this.say('images');
        const first = this.images.find((image) => !image.error);
        if (!this.#wanted && first) this.show(first, 0);
    }

    /** Opens the image anew. */
    reload() { if (this.#wanted) this.show(this.#wanted.image, this.#wanted.frame); }

    /** @param {ListedImage} image @param {number} frame */
    show(image, frame) {
        this.#wanted = { image, frame };
        this.say('loading');
        this.#load(this.#wanted);
    }

    /** From the cache, where it becomes the newest.
     * @param {ListedImage} image @param {number} frame
     * @param {Options['state']} state @returns {Promise<Loaded>} */
    #fetch(image, frame, state) {
        const key = `${image.id}:${frame}:${state}`, old = this.shared.cache.get(key);
        const promise = old?.promise ?? this.#fetchNow(image, frame, state, key);
        this.shared.cache.delete(key);
        this.shared.cache.set(key, { promise, bytes: old?.bytes ?? 0 });
        return promise;
    }

    /** @param {ListedImage} image @param {number} frame @param {Options['state']} state
     * @param {string} key @returns {Promise<Loaded>} */
    async #fetchNow(image, frame, state, key) {
        try {
            const asked = api.open(image.id, frame, { state });
            const [opened, buffer] = await Promise.all([asked, api.pixels(image.id, frame, state)]);
            const entry = this.shared.cache.get(key);
            if (entry) entry.bytes = buffer.byteLength;
            let bytes = 0;
            for (const [other, held] of [...this.shared.cache].reverse())
                if ((bytes += held.bytes) > kCacheBytes && other !== key) this.shared.cache.delete(other);
            return { opened, pixels: api.typedPixels(buffer, opened.pixels) };
        } catch (error) {
            this.shared.cache.delete(key);
            throw error;
        }
    }

    /** Everything that belongs to an image changes at once, when all of it is there.
     * @param {{image: ListedImage, frame: number}} what */
    async #loadNow({ image, frame }) {
        const keyOf = (/** @type {ListedImage} */ of) => of.series || `image ${of.id}`;
        const last = this.image, isNewSeries = !last || keyOf(last) !== keyOf(image);
        const own = isNewSeries ? this.shared.ofSeries.get(keyOf(image)) : this;
        const options = own?.options ?? {};
        /** @type {Loaded & {table: api.Table?, window: any} | null} */
        let found = null;
        let fault = api.withoutFolder(image.error ?? '');
        try {
            if (!image.error) {
                const { opened, pixels } = await this.#fetch(image, frame, options.state);
                const table = opened.pixels.colour ? null : await this.#askTable(image, frame, options, true);
                found = { opened, pixels, table, window: windowOf(table) };
            }
        } catch (error) {
            fault = /** @type {Error} */ (error).message;
        }
        const isElsewhere = found && this.opened && !isSamePlace(found.opened, this.opened);
        if (isNewSeries) {
            if (last) this.shared.ofSeries.set(keyOf(last), { options: this.options, view: this.view });
            this.options = options;
            this.view = own?.view ?? plainView(found?.opened.placement);
        } else if (isElsewhere) {
            this.view = plainView(found?.opened.placement);
        }
        if (last?.id !== image.id) this.selected = this.handle = -1;
        const { opened = null, pixels = null, table = null, window = null } = found ?? {};
        Object.assign(this, { opened, pixels, table, window, fault, image, frame });
        this.say('image');
        if (options !== this.options) this.#update(true);
        const next = this.#placeBy(1, false);
        // A failure shows when it is opened.
        if (next) this.#fetch(next.image, next.frame, options.state).catch(() => {});
    }

    /** @param {ListedImage} image @param {number} frame @param {Options} options @param {boolean} isNew */
    async #askTable(image, frame, options, isNew) {
        const regions = this.shared.regions.get(image.id) ?? [];
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
        this.say('options');
        if (options.center !== undefined && options.width !== undefined)
            this.window = { center: options.center, width: options.width };
        this.say('window');
        this.#update(true);
    }

    /** The window of the selected region, else of the image. */
    get target() {
        const region = this.regions[this.selected];
        if (!region) return this.window;
        const { center, width } = region.options;
        return center !== undefined && width !== undefined ? { center, width }
            : this.tableWindow ?? this.window;
    }

    /** A window for the selected region, else for the image.
     * @param {Options} window */
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

    resetView() { this.setView(plainView(this.opened?.placement)); }

    resetAll() {
        this.resetView();
        if (this.options.state === undefined) this.setOptions({});
        else this.setState(undefined);
    }

    /** Opens the image anew with another presentation state.
     * @param {Options['state']} state */
    setState(state) {
        this.options = state === undefined ? {} : { state };
        this.reload();
    }

    /** @param {boolean} overlays */
    setOverlays(overlays) {
        this.shared.overlays = overlays;
        this.say('overlays');
    }

    /** @param {View} view */
    setView(view) {
        this.view = view;
        this.say('view');
    }

    /** @param {string} tool */
    setTool(tool) {
        this.shared.tool = tool;
        this.say('tool');
    }

    /** @param {import('./api.js').Region[]} regions @param {number} selected */
    setRegions(regions, selected) {
        if (!this.image || !this.isGrey) return;
        this.shared.regions.set(this.image.id, regions);
        this.selected = selected;
        this.say('regions');
        this.#update(true);
    }

    /** @param {number} at @param {import('./api.js').Region} region */
    setRegion(at, region) { this.setRegions(this.regions.map((old, i) => (i === at ? region : old)), at); }

    /** @param {number} at @param {number} handle */
    select(at, handle = -1) {
        this.selected = at;
        this.handle = handle;
        this.say('regions');
    }

    /** Of the selected region.
     * @param {{x: number, y: number}} to */
    moveHandle(to) {
        const region = this.regions[this.selected];
        if (!region || this.handle < 0) return;
        const { shape, handle } = reshaped(region.shape, this.handle, to);
        this.handle = handle;
        this.setRegion(this.selected, { ...region, shape });
    }

    /** Of the selected region.
     * @param {string?} shape */
    setShape(shape) {
        const region = this.regions[this.selected];
        this.handle = -1;
        if (region && shape) this.setRegion(this.selected, { ...region, shape });
    }

    /** Another viewer has changed the regions of its image. */
    takeRegions() {
        this.selected = this.handle = -1;
        this.say('regions');
        this.#update(true);
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

    /** To another of the places.
     * @param {number} by @param {boolean=} isRound from the last on to the first
     */
    step(by, isRound = false) {
        const next = this.#placeBy(by, isRound);
        if (next) this.show(next.image, next.frame);
    }

    /** To another image of the list.
     * @param {number} by */
    stepImage(by) {
        const next = this.#wanted && this.images[this.images.indexOf(this.#wanted.image) + by];
        if (next) this.show(next, 0);
    }

    /** The window is the user's, and goes from image to image. */
    get isKept() { return this.places.length > 1 && kWindowKeys.some((key) => key in this.options); }

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
