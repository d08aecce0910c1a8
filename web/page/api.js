/** Requests to the server. Addresses are relative to the page's base, which holds the token. */

/**
 * @typedef {{center?: number, width?: number, auto?: boolean, preset?: string, voi?: number, gamma?: number,
 *            invert?: boolean, colormap?: string, state?: false | number}} Options
 * @typedef {{shape: string, options: Options}} Region
 * @typedef {{id: number, name: string, study: string, series: string, studyText: string, seriesText: string,
 *            modality: string, frames: number, rows: number, columns: number, error: string?}} ListedImage
 * @typedef {{width: number, height: number, bits: number, signed: boolean, colour: boolean}} PixelFormat
 * @typedef {{turns: number, flip: boolean, area: number[], mode: string, zoom: number?,
 *            pixelRatio: number}} Placement
 * @typedef {{name: string, units: string, slope: number, intercept: number, first: number?, last: number?,
 *            table: number[]?}} PixelValue
 * @typedef {{info: any, presets: {name: string, reason: string?}[], entries: any[], pixels: PixelFormat,
 *            states: {id: number, label: string, description: string, created: string, file: string}[],
 *            state: number?, placement: Placement, layers: string[],
 *            values: {stored: boolean, list: PixelValue[]}?}} Opened
 * @typedef {{zoom: number, pan: number[], rotate: number, flip: string, size: string}} ProgramView
 * @typedef {{center: number, width: number, source: string, units: string?,
 *            low: number, high: number}} Window
 * @typedef {{entries: number, first: number, tables: number, labels: Uint8Array?, windows: Window[],
 *            gamma: number, inverse: boolean, colormap: string?, colours: Uint8Array}} Table
 * @typedef {Uint8Array | Int8Array | Uint16Array | Int16Array} Pixels
 */

/** A message of the program without the folders of the file.
 * @param {string} text */
export const withoutFolder = (text) => text.replace(/^(?=[^:]*: )[^:]*\//, '');

/** @param {string} path @param {object=} body */
async function request(path, body) {
    const headers = { 'Content-Type': 'application/json' };
    const post = { method: 'POST', headers, body: JSON.stringify(body) };
    let answer;
    try {
        answer = await fetch(path, body ? post : {});
    } catch {
        throw new Error('The server does not answer: is zev view still running?');
    }
    if (answer.ok) return answer;
    const fault = await answer.json().catch(() => ({}));
    throw new Error(withoutFolder(fault.error ?? `The server answered ${answer.status}.`));
}

export const list = async () => (await request('api/list')).json();
export const progress = async () => (await request('api/progress')).json();
export const colourMaps = async () => (await (await request('api/colormaps')).json()).maps;
export const thumbAddress = (/** @type {number} */ id) => `api/thumb?id=${id}`;

/** @param {number} id @param {number} frame @param {Options} options @returns {Promise<Opened>} */
export const open = async (id, frame, options) => (await request('api/open', { id, frame, options })).json();

/** @param {number} id @param {number} frame @param {Options['state']} state */
const frameOf = (id, frame, state) =>
    `id=${id}&frame=${frame}${state === undefined ? '' : `&state=${state === false ? 'none' : state}`}`;

/** @param {number} id @param {number} frame @param {Options['state']} state
 * @returns {Promise<ArrayBuffer>} */
export const pixels = async (id, frame, state) =>
    (await request(`api/pixels?${frameOf(id, frame, state)}`)).arrayBuffer();

/**
 * @param {number} id @param {number} frame @param {Options} options @param {Region[]} regions
 * @param {number} x @param {number} y
 */
export const explain = async (id, frame, options, regions, x, y) =>
    (await request('api/explain', { id, frame, options, regions, at: [[x, y]] })).json();

/**
 * @param {number} id
 * @param {number} frame
 * @param {Options['state']} state
 * @returns {Promise<{low: number, high: number, bins: number[]}>}
 */
export const histogram = async (id, frame, state) =>
    (await request(`api/histogram?${frameOf(id, frame, state)}`)).json();

/** @param {object} what @returns {Promise<string>} the name of the file */
export const save = async (what) => (await (await request('api/save', what)).json()).saved;

/**
 * @param {number} id
 * @param {number} frame
 * @param {Options} options
 * @param {Region[]} regions
 * @param {boolean} labels
 */
export async function table(id, frame, options, regions, labels) {
    const answer = await request('api/table', { id, frame, options, regions, labels });
    return parseTable(await answer.arrayBuffer());
}

/** The JSON that a binary answer begins with, and where it ends.
 * @param {ArrayBuffer} buffer */
function headOf(buffer) {
    const length = new DataView(buffer).getUint32(0, true);
    return { head: JSON.parse(new TextDecoder().decode(new Uint8Array(buffer, 4, length))), end: 4 + length };
}

/** @param {ArrayBuffer} buffer @returns {Table} */
export function parseTable(buffer) {
    const { head, end } = headOf(buffer), size = head.entries * head.tables * 4;
    const colours = new Uint8Array(buffer, end, size);
    return { ...head, colours, labels: head.labels ? new Uint8Array(buffer, end + size) : null };
}

/**
 * What lies on the image: a part of the screen, transparent where there is nothing.
 * @param {{id: number, frame: number, options: Options, regions: Region[], overlays: boolean,
 *          view: ProgramView}} what
 * @returns {Promise<{x: number, y: number, picture: ImageData?}>}
 */
export async function layers(what) {
    const buffer = await (await request('api/layers', what)).arrayBuffer();
    const { head: { x, y, width, height }, end } = headOf(buffer);
    const picture = width ? new ImageData(new Uint8ClampedArray(buffer, end), width, height) : null;
    return { x, y, picture };
}

/**
 * The pixels in an array of their type.
 * @param {ArrayBuffer} buffer
 * @param {PixelFormat} format
 * @returns {Pixels}
 */
export function typedPixels(buffer, format) {
    if (format.colour) return new Uint8Array(buffer);
    if (format.bits <= 8) return format.signed ? new Int8Array(buffer) : new Uint8Array(buffer);
    return format.signed ? new Int16Array(buffer) : new Uint16Array(buffer);
}

/**
 * Runs a task one at a time: of the calls made meanwhile only the newest is carried out.
 * @template T @param {(argument: T) => Promise<void>} task @returns {(argument: T) => void}
 */
export function latest(task) {
    let isRunning = false;
    /** @type {T[]} */
    let waiting = [];
    return async (argument) => {
        waiting = [argument];
        if (isRunning) return;
        isRunning = true;
        try {
            for (let next = waiting.pop(); next !== undefined; next = waiting.pop()) await task(next);
        } finally {
            isRunning = false;
        }
    };
}
