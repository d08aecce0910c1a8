/**
 * Where the image lies on the screen: it is flipped left to right, turned by quarter turns clockwise,
 * magnified, and its centre moved by pan from the centre of the screen, in pixels of the device.
 * @typedef {{zoom: number?, panX: number, panY: number, turns: number, flip: boolean}} View zoom null: fitted
 * @typedef {{width: number, height: number}} Size
 * @typedef {{width: number, height: number, stretchX: number, stretchY: number}} ImageSize
 *     in pixels, and the sides of a pixel
 * @typedef {{a: number, b: number, c: number, d: number, e: number, f: number}} Affine
 *     x' = a x + c y + e, y' = b x + d y + f
 */

export const kSmallestZoom = 0.02, kLargestZoom = 64;
const kMostAspect = 100;  // a larger ratio is taken for a mistake
const kCos = [1, 0, -1, 0], kSin = [0, 1, 0, -1];

/** The size of an image whose pixels are as wide and high as their spacing says.
 * @param {number} width @param {number} height @param {number[]?} spacing of rows and columns
 * @returns {ImageSize} */
export function imageSize(width, height, spacing) {
    const ratio = spacing ? spacing[0] / spacing[1] : 1;
    const [stretchX, stretchY] = !(ratio >= 1 / kMostAspect && ratio <= kMostAspect) ? [1, 1]
        : ratio > 1 ? [1, ratio] : [1 / ratio, 1];
    const isVisible = Math.round(width * stretchX) !== width || Math.round(height * stretchY) !== height;
    return isVisible ? { width, height, stretchX, stretchY } : { width, height, stretchX: 1, stretchY: 1 };
}

/** @returns {View} */
export const plainView = () => ({ zoom: null, panX: 0, panY: 0, turns: 0, flip: false });

/** @param {View} view @param {ImageSize} image @param {Size} screen */
export function zoomOf(view, image, screen) {
    if (view.zoom !== null) return view.zoom;
    const across = image.width * image.stretchX, down = image.height * image.stretchY;
    const [width, height] = view.turns % 2 ? [down, across] : [across, down];
    return Math.max(kSmallestZoom, Math.min(kLargestZoom, screen.width / width, screen.height / height));
}

/** @param {View} view @param {ImageSize} image @param {Size} screen @returns {Affine} */
export function imageToScreen(view, image, screen) {
    const zoom = zoomOf(view, image, screen), cos = kCos[view.turns], sin = kSin[view.turns];
    const across = zoom * image.stretchX * (view.flip ? -1 : 1), down = zoom * image.stretchY;
    const [a, b, c, d] = [across * cos, across * sin, -down * sin, down * cos];
    // A corner of the image lies on a corner of a screen pixel, so that one to one no pixel is doubled.
    const e = Math.round(screen.width / 2 + view.panX - (a * image.width + c * image.height) / 2);
    const f = Math.round(screen.height / 2 + view.panY - (b * image.width + d * image.height) / 2);
    return { a, b, c, d, e, f };
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

/** A quarter turn clockwise. @param {View} view @returns {View} */
export const turned = (view) => ({ ...view, turns: (view.turns + 1) % 4, panX: -view.panY, panY: view.panX });

/** Left to right on the screen, however the image is turned. @param {View} view @returns {View} */
export const flipped = (view) =>
    ({ ...view, flip: !view.flip, turns: (4 - view.turns) % 4, panX: -view.panX });
