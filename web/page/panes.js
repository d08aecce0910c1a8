/** The images side by side, of which one is active: the tools, the panel and the keys are for that one. */

import { makePane } from './pane.js';
import { Shared, Viewer } from './view.js';

/** @typedef {import('./api.js').Options} Options */

/** What linked images have in common; the number of a windowing entry is the image's own. */
const kLinked = /** @type {(keyof Options)[]} */ (
    ['center', 'width', 'auto', 'preset', 'gamma', 'invert', 'colormap']);
const kEvents = ['images', 'loading', 'image', 'options', 'window', 'view', 'regions', 'tool', 'overlays',
                 'hover', 'size', 'fault', 'close'];
/** What is said when another one becomes active. */
const kAll = ['image', 'window', 'view', 'regions', 'hover', 'tool', 'overlays'];

/** Events: those of the active viewer, and `panes`: their number, the active one or the link has changed. */
export class Panes extends EventTarget {
    /** @type {Viewer[]} */ viewers = [];
    /** @type {HTMLElement[]} */ #panes = [];
    #at = 0;
    count = 1;
    isLinked = false;
    shared = new Shared();

    /** @param {HTMLElement} stage */
    constructor(stage) {
        super();
        this.stage = stage;
        this.#add();
        this.#mark();
    }

    get active() { return this.viewers[this.#at]; }

    #add() {
        const viewer = new Viewer(this.shared), at = this.viewers.length;
        const pane = makePane(viewer, at + 1);
        for (const what of kEvents)
            viewer.addEventListener(what, () => { if (viewer === this.active) this.say(what); });
        viewer.addEventListener('options', () => this.#link(viewer));
        for (const [what, tell] of /** @type {[string, (other: Viewer) => void][]} */ ([
            ['regions', (other) => { if (other.image && other.image === viewer.image) other.takeRegions(); }],
            ['tool', (other) => other.say('tool')],
            ['overlays', (other) => other.say('overlays')]])) {
            viewer.addEventListener(what, () => {
                if (viewer === this.active)
                    for (const other of this.#others(viewer)) tell(other);
            });
        }
        for (const event of ['pointerdown', 'focusin'])
            pane.addEventListener(event, () => this.activate(at), { capture: true });
        this.viewers.push(viewer);
        this.#panes.push(pane);
        this.stage.append(pane);
    }

    /** @param {Viewer} viewer */
    #others(viewer) { return this.viewers.slice(0, this.count).filter((other) => other !== viewer); }

    /** @param {string} what */
    say(what) { this.dispatchEvent(new Event(what)); }

    #mark() {
        this.stage.dataset.count = String(this.count);
        this.#panes.forEach((pane, i) => {
            pane.hidden = i >= this.count;
            pane.dataset.active = String(i === this.#at);
        });
        this.say('panes');
    }

    /** @param {number} at */
    activate(at) {
        if (at === this.#at) return;
        this.#at = at;
        this.#mark();
        for (const what of kAll) this.say(what);
    }

    /** The further panes show the images that follow in the list.
     * @param {number} count 1, 2 or 4 */
    setCount(count) {
        while (this.viewers.length < count) this.#add();
        this.count = count;
        if (this.#at >= count) this.activate(0);
        this.#mark();
        const images = this.shared.images.filter((image) => !image.error);
        let next = this.active.image ? images.indexOf(this.active.image) : -1;
        for (const viewer of this.#others(this.active)) {
            next = (next + 1) % Math.max(1, images.length);
            if (!viewer.image && images[next]) viewer.show(images[next], 0);
        }
        for (const viewer of this.viewers) viewer.say('tool');
    }

    /** @param {boolean} isLinked */
    setLinked(isLinked) {
        this.isLinked = isLinked;
        this.#mark();
        if (isLinked) this.#link(this.active);
    }

    /** What a viewer's image is shown with goes to the others of its modality and units.
     * @param {Viewer} from */
    #link(from) {
        if (!this.isLinked || from !== this.active) return;
        const kept = Object.fromEntries(kLinked.filter((key) => key in from.options)
            .map((key) => [key, from.options[key]]));
        for (const other of this.#others(from)) {
            if (!other.isGrey || other.image?.modality !== from.image?.modality || other.units !== from.units)
                continue;
            const { state } = other.options;
            other.setOptions(state === undefined ? { ...kept } : { ...kept, state });
        }
    }

    /** @param {import('./api.js').ListedImage[]} images */
    setImages(images) {
        const known = new Map(this.shared.images.map((image) => [image.id, image]));
        this.shared.images = images.map((image) => known.get(image.id) ?? image);
        this.active.takeImages();
    }

    /** Reads what is shown anew, for something that was not known before. */
    reload() {
        this.shared.cache.clear();
        for (const viewer of this.viewers) viewer.reload();
    }

    /** Stands in for whichever viewer is active.
     * @returns {Viewer} */
    get current() {
        const panes = this;
        return /** @type {Viewer} */ (new Proxy(/** @type {object} */ (this), {
            get(_, key) {
                const target = key in EventTarget.prototype ? panes : panes.active;
                const value = Reflect.get(target, key, target);
                return typeof value === 'function' ? value.bind(target) : value;
            },
            set(_, key, value) { return Reflect.set(panes.active, key, value); },
        }));
    }
}
