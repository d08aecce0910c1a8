/** Outlines of regions as text: rect:x0,y0,x1,y1, ellipse:x,y,rx,ry, polygon:x,y x,y x,y, in image pixels. */

/** @typedef {{x: number, y: number}} Point */

const kCorner = '-?\\d+(\\.\\d+)?,-?\\d+(\\.\\d+)?';
const kShape = new RegExp(`^((rect|ellipse):${kCorner},${kCorner}|polygon:${kCorner}( ${kCorner}){2,})$`);

/** @param {string} text */
export const isShape = (text) => kShape.test(text);

/**
 * @param {string} text
 * @returns {{kind: string, points: Point[]}} the half axes of an ellipse are its second point
 */
export function parse(text) {
    const [kind, numbers] = text.split(':'), n = numbers.split(/[ ,]/).map(Number);
    const points = Array.from({ length: n.length / 2 }, (_, i) => ({ x: n[2 * i], y: n[2 * i + 1] }));
    return { kind, points };
}

/** @param {string} kind @param {Point[]} points */
export function format(kind, points) {
    const round = (/** @type {number} */ value) => Math.round(value * 10) / 10;
    return `${kind}:${points.map((p) => `${round(p.x)},${round(p.y)}`).join(kind === 'polygon' ? ' ' : ',')}`;
}

/**
 * The shape between two corners of its box; null for one without an area.
 * @param {string} kind
 * @param {Point} a
 * @param {Point} b
 */
export function between(kind, a, b) {
    const width = Math.abs(a.x - b.x), height = Math.abs(a.y - b.y);
    if (width < 1 || height < 1) return null;
    const [left, top] = [Math.min(a.x, b.x), Math.min(a.y, b.y)];
    return kind === 'rect' ? format(kind, [{ x: left, y: top }, { x: left + width, y: top + height }])
        : format(kind, [{ x: (a.x + b.x) / 2, y: (a.y + b.y) / 2 }, { x: width / 2, y: height / 2 }]);
}

/** @param {string} text @param {number} dx @param {number} dy */
export function moved(text, dx, dy) {
    const { kind, points } = parse(text);
    const isAxes = (/** @type {number} */ i) => kind === 'ellipse' && i === 1;
    return format(kind, points.map((p, i) => (isAxes(i) ? p : { x: p.x + dx, y: p.y + dy })));
}

/** @param {string} text @param {Point} at */
export function contains(text, at) {
    const { kind, points: p } = parse(text);
    if (kind === 'ellipse') return ((at.x - p[0].x) / p[1].x) ** 2 + ((at.y - p[0].y) / p[1].y) ** 2 <= 1;
    const corners = outline(text);
    return corners.reduce((isIn, a, i) => {
        const b = corners[(i + 1) % corners.length];
        const isCut = (a.y > at.y) !== (b.y > at.y);
        return isCut && at.x < a.x + (at.y - a.y) * (b.x - a.x) / (b.y - a.y) ? !isIn : isIn;
    }, false);
}

/** The corners to draw.
 * @param {string} text @returns {Point[]} */
export function outline(text) {
    const { kind, points: p } = parse(text);
    if (kind === 'rect') return [p[0], { x: p[1].x, y: p[0].y }, p[1], { x: p[0].x, y: p[1].y }];
    if (kind !== 'ellipse') return p;
    return Array.from({ length: 72 }, (_, i) => ({ x: p[0].x + p[1].x * Math.cos(i * Math.PI / 36),
                                                   y: p[0].y + p[1].y * Math.sin(i * Math.PI / 36) }));
}

/** The points by which a shape is changed: the corners of its box clockwise, or its own.
 * @param {string} text @returns {Point[]} */
export function handles(text) {
    const { kind, points: p } = parse(text);
    if (kind === 'polygon') return p;
    const [a, b] = kind === 'rect' ? p
        : [{ x: p[0].x - p[1].x, y: p[0].y - p[1].y }, { x: p[0].x + p[1].x, y: p[0].y + p[1].y }];
    return [a, { x: b.x, y: a.y }, b, { x: a.x, y: b.y }];
}

/** The handle nearest to a point, if it is not farther away; else -1.
 * @param {string} text @param {Point} at @param {number} most */
export function handleAt(text, at, most) {
    let best = -1, least = most;
    handles(text).forEach((p, i) => {
        const distance = Math.hypot(p.x - at.x, p.y - at.y);
        if (distance <= least) [best, least] = [i, distance];
    });
    return best;
}

/** The shape with a handle elsewhere, and which one that is then: a box may turn over.
 * @param {string} text @param {number} handle @param {Point} to */
export function reshaped(text, handle, to) {
    const { kind, points } = parse(text);
    if (kind === 'polygon')
        return { shape: format(kind, points.map((p, i) => (i === handle ? to : p))), handle };
    const shape = between(kind, handles(text)[(handle + 2) % 4], to) ?? text;
    return { shape, handle: handleAt(shape, to, Infinity) };
}

/** A polygon with another corner on its edge nearest to a point, if that is not farther away; else null.
 * @param {string} text @param {Point} at @param {number} most */
export function withCorner(text, at, most) {
    const { kind, points } = parse(text);
    let best = -1, least = most;
    points.forEach((p, i) => {
        const q = points[(i + 1) % points.length], dx = q.x - p.x, dy = q.y - p.y;
        const along = ((at.x - p.x) * dx + (at.y - p.y) * dy) / (dx * dx + dy * dy || 1);
        const t = Math.max(0, Math.min(1, along));
        const distance = Math.hypot(p.x + t * dx - at.x, p.y + t * dy - at.y);
        if (distance <= least) [best, least] = [i, distance];
    });
    if (kind !== 'polygon' || best < 0) return null;
    return format(kind, [...points.slice(0, best + 1), at, ...points.slice(best + 1)]);
}

/** A polygon without one of its corners; null where it would have no area.
 * @param {string} text @param {number} i */
export function withoutCorner(text, i) {
    const { kind, points } = parse(text);
    if (kind !== 'polygon' || !points[i] || points.length < 4) return null;
    return format(kind, points.filter((_, at) => at !== i));
}
