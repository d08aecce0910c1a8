/**
 * Where the image lies on the screen: it is flipped left to right, turned by quarter turns clockwise,
 * magnified, and the centre of its area moved by pan from that of the screen, in pixels of the device.
 * @typedef {{zoom: number?, panX: number, panY: number, turns: number, flip: boolean}} View zoom null: fitted
 * @typedef {{width: number, height: number}} Size
 * @typedef {{width: number, height: number, stretchX: number, stretchY: number, area: number[],
 *            zoom: number?}} ImageSize in pixels, the sides of a pixel, and what is to be seen: left, top,
 *     right and bottom of an area whose centre the screen has at first, and its zoom if it is not fitted
 * @typedef {{a: number, b: number, c: number, d: number, e: number, f: number}} Affine
 *     x' = a x + c y + e, y' = b x + d y + f
 */

export const kSmallestZoom = 0.02, kLargestZoom = 64;
const kMostAspect = 100;  // a larger ratio is taken for a mistake
const kCos = [1, 0, -1, 0], kSin = [0, 1, 0, -1];

/** The size of an image whose pixels are as wide and high as its placement says.
 * @param {number} width @param {number} height @param {import('./api.js').Placement?} placement
 * @param {number} scale pixels of the device by CSS pixels
 * @returns {ImageSize} */
export function imageSize(width, height, placement, scale = 1) {
    const { pixelRatio: ratio = 1, area = [0, 0, width, height], mode = 'fit' } = placement ?? {};
    const [across, down] = !(ratio >= 1 / kMostAspect && ratio <= kMostAspect) ? [1, 1]
        : ratio > 1 ? [1, ratio] : [1 / ratio, 1];
    const isVisible = Math.round(width * across) !== width || Math.round(height * down) !== height;
    const zoom = mode === 'fit' ? null : (placement?.zoom ?? 1) * (mode === 'true' ? scale : 1);
    const [stretchX, stretchY] = isVisible ? [across, down] : [1, 1];
    return { width, height, stretchX, stretchY, area, zoom };
}

/** How an image lies at first.
 * @param {import('./api.js').Placement?=} placement @returns {View} */
export const plainView = (placement) =>
    ({ zoom: null, panX: 0, panY: 0, turns: placement?.turns ?? 0, flip: placement?.flip ?? false });

/** @param {View} view @param {ImageSize} image @param {Size} screen */
export function zoomOf(view, image, screen) {
    const [left, top, right, bottom] = image.area;
    const across = (right - left) * image.stretchX, down = (bottom - top) * image.stretchY;
    const [width, height] = view.turns % 2 ? [down, across] : [across, down];
    const zoom = view.zoom ?? image.zoom ?? Math.min(screen.width / width, screen.height / height);
    return Math.max(kSmallestZoom, Math.min(kLargestZoom, zoom));
}

/** @param {View} view @param {ImageSize} image @param {Size} screen @returns {Affine} */
export function imageToScreen(view, image, screen) {
    const zoom = zoomOf(view, image, screen), cos = kCos[view.turns], sin = kSin[view.turns];
    const across = zoom * image.stretchX * (view.flip ? -1 : 1), down = zoom * image.stretchY;
    const [a, b, c, d] = [across * cos, across * sin, -down * sin, down * cos];
    const [left, top, right, bottom] = image.area, x = (left + right) / 2, y = (top + bottom) / 2;
    // A corner of the image lies on a corner of a screen pixel, so that one to one no pixel is doubled.
    const e = Math.round(screen.width / 2 + view.panX - (a * x + c * y));
    const f = Math.round(screen.height / 2 + view.panY - (b * x + d * y));
    return { a, b, c, d, e, f };
}

/** The view as the program takes it, which moves the centre of the whole image.
 * @param {View} view @param {ImageSize} image @param {Size} screen
 * @returns {import('./api.js').ProgramView} */
export function programView(view, image, screen) {
    const { a, b, c, d, e, f } = imageToScreen(view, image, screen);
    const pan = [e - (screen.width - a * image.width - c * image.height) / 2,
                 f - (screen.height - b * image.width - d * image.height) / 2];
    return { zoom: zoomOf(view, image, screen), pan, rotate: view.turns * 90, flip: view.flip ? 'h' : '',
             size: `${screen.width}x${screen.height}` };
}

/** @param {Affine} m @returns {Affine} */
export function inverse(m) {
    const det = m.a * m.d - m.b * m.c;
    const [a, b, c, d] = [m.d / det, -m.b / det, -m.c / det, m.a / det];
    return { a, b, c, d, e: -(a * m.e + c * m.f), f: -(b * m.e + d * m.f) };
}

/** @param {Affine} m @param {number} x @param {number} y */
export const apply = (m, x, y) => ({ x: m.a * x + m.c * y + m.e, y: m.b * x + m.d * y + m.f });

/** The view magnified by a factor, with the point (x, y) of the screen at rest.
 * @param {View} view @param {ImageSize} image @param {Size} screen
 * @param {number} factor @param {number} x @param {number} y @returns {View} */
export function zoomAbout(view, image, screen, factor, x, y) {
    const before = zoomOf(view, image, screen);
    const zoom = Math.max(kSmallestZoom, Math.min(kLargestZoom, before * factor)), ratio = zoom / before;
    const dx = x - screen.width / 2, dy = y - screen.height / 2;
    return { ...view, zoom, panX: dx - (dx - view.panX) * ratio, panY: dy - (dy - view.panY) * ratio };
}

/** @param {View} view @param {number} dx @param {number} dy @returns {View} */
export const panned = (view, dx, dy) => ({ ...view, panX: view.panX + dx, panY: view.panY + dy });

/** A quarter turn clockwise.
 * @param {View} view @returns {View} */
export const turned = (view) => ({ ...view, turns: (view.turns + 1) % 4, panX: -view.panY, panY: view.panX });

/** Left to right on the screen, however the image is turned.
 * @param {View} view @returns {View} */
export const flipped = (view) =>
    ({ ...view, flip: !view.flip, turns: (4 - view.turns) % 4, panX: -view.panX });
