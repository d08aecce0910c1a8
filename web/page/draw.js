/** Draws the stored pixels through the table: by WebGL2, or by a 2-D canvas where that is missing. */

import { inverse } from './geometry.js';

/** @typedef {import('./api.js').Table} Table @typedef {import('./api.js').Pixels} Pixels
 *  @typedef {import('./api.js').PixelFormat} PixelFormat @typedef {import('./geometry.js').Affine} Affine */

const kTableWidth = 256;

const kVertex = `#version 300 es
void main() { gl_Position = vec4(vec2(gl_VertexID == 1 ? 3 : -1, gl_VertexID == 2 ? 3 : -1), 0, 1); }`;

/** @param {'usampler2D' | 'isampler2D'} sampler */
const fragment = (sampler) => `#version 300 es
precision highp float;
precision highp int;
uniform highp ${sampler} pixels;
uniform highp usampler2D labels;
uniform highp usampler2DArray table;
uniform mat3x2 toImage;
uniform float screenHeight;
uniform int first;
uniform bool isColour;
uniform bool hasLabels;
out vec4 colour;
void main() {
    vec2 at = toImage * vec3(gl_FragCoord.x, screenHeight - gl_FragCoord.y, 1);
    ivec2 cell = ivec2(floor(at));
    if (any(lessThan(cell, ivec2(0))) || any(greaterThanEqual(cell, textureSize(pixels, 0)))) {
        colour = vec4(0, 0, 0, 1);
        return;
    }
    ivec4 value = ivec4(texelFetch(pixels, cell, 0));
    if (isColour) {
        colour = vec4(vec3(value.rgb) / 255.0, 1);
        return;
    }
    int label = hasLabels ? int(texelFetch(labels, cell, 0).r) : 0;
    int index = value.r - first;
    colour = vec4(texelFetch(table, ivec3(index & 255, index >> 8, label), 0)) / 255.0;
}`;

/** @param {HTMLCanvasElement} canvas @returns {GlDrawer | CanvasDrawer} */
export function makeDrawer(canvas) {
    const gl = canvas.getContext('webgl2', {
        alpha: false, antialias: false, depth: false, premultipliedAlpha: false, preserveDrawingBuffer: true,
    });
    return gl ? new GlDrawer(gl) : new CanvasDrawer(canvas);
}

/** The largest image that a drawer holds is maxSide on a side. */
class GlDrawer {
    /** @param {WebGL2RenderingContext} gl */
    constructor(gl) {
        this.gl = gl;
        this.maxSide = gl.getParameter(gl.MAX_TEXTURE_SIZE);
        this.programs = { unsigned: this.#program('usampler2D'), signed: this.#program('isampler2D') };
        this.textures = { pixels: gl.createTexture(), labels: gl.createTexture(), table: gl.createTexture() };
        gl.pixelStorei(gl.UNPACK_ALIGNMENT, 1);
        this.#texture(0, gl.TEXTURE_2D, this.textures.pixels);
        this.#texture(1, gl.TEXTURE_2D, this.textures.labels);
        this.#texture(2, gl.TEXTURE_2D_ARRAY, this.textures.table);
        this.isSigned = this.isColour = this.hasLabels = this.hasPixels = false;
        this.first = 0;
    }

    /** @param {'usampler2D' | 'isampler2D'} sampler */
    #program(sampler) {
        const gl = this.gl, program = /** @type {WebGLProgram} */ (gl.createProgram());
        for (const [type, text] of [[gl.VERTEX_SHADER, kVertex], [gl.FRAGMENT_SHADER, fragment(sampler)]]) {
            const shader = /** @type {WebGLShader} */ (gl.createShader(/** @type {number} */ (type)));
            gl.shaderSource(shader, /** @type {string} */ (text));
            gl.compileShader(shader);
            gl.attachShader(program, shader);
        }
        gl.linkProgram(program);
        if (!gl.getProgramParameter(program, gl.LINK_STATUS))
            throw new Error(`shader: ${gl.getProgramInfoLog(program)}`);
        gl.useProgram(program);
        const at = (/** @type {string} */ name) => gl.getUniformLocation(program, name);
        ['pixels', 'labels', 'table'].forEach((name, unit) => gl.uniform1i(at(name), unit));
        return { program, toImage: at('toImage'), screenHeight: at('screenHeight'), first: at('first'),
            isColour: at('isColour'), hasLabels: at('hasLabels') };
    }

    /** @param {number} unit @param {number} target @param {WebGLTexture?} texture */
    #texture(unit, target, texture) {
        const gl = this.gl;
        gl.activeTexture(gl.TEXTURE0 + unit);
        gl.bindTexture(target, texture);
        gl.texParameteri(target, gl.TEXTURE_MIN_FILTER, gl.NEAREST);
        gl.texParameteri(target, gl.TEXTURE_MAG_FILTER, gl.NEAREST);
        // Each sampler needs a complete texture of integers, whether it is read or not.
        const type = gl.UNSIGNED_BYTE, none = new Uint8Array(4);
        if (target === gl.TEXTURE_2D) this.#image(unit, gl.R8UI, 1, 1, gl.RED_INTEGER, type, none);
        else gl.texImage3D(target, 0, gl.RGBA8UI, 1, 1, 1, 0, gl.RGBA_INTEGER, type, none);
    }

    /**
     * @param {number} unit @param {number} form @param {number} width @param {number} height
     * @param {number} order @param {number} type @param {Pixels} data
     */
    #image(unit, form, width, height, order, type, data) {
        this.gl.activeTexture(this.gl.TEXTURE0 + unit);
        this.gl.texImage2D(this.gl.TEXTURE_2D, 0, form, width, height, 0, order, type, data);
    }

    /** @param {Pixels} pixels @param {PixelFormat} format */
    setPixels(pixels, { width, height, bits, signed, colour }) {
        const gl = this.gl;
        this.isColour = colour;
        this.isSigned = signed && !colour;
        this.hasPixels = true;
        const [form, type] = colour ? [gl.RGB8UI, gl.UNSIGNED_BYTE]
            : bits <= 8 ? (signed ? [gl.R8I, gl.BYTE] : [gl.R8UI, gl.UNSIGNED_BYTE])
            : (signed ? [gl.R16I, gl.SHORT] : [gl.R16UI, gl.UNSIGNED_SHORT]);
        this.#image(0, form, width, height, colour ? gl.RGB_INTEGER : gl.RED_INTEGER, type, pixels);
    }

    /** @param {Table} table @param {PixelFormat} format */
    setTable({ entries, first, tables, colours, labels }, { width, height }) {
        const gl = this.gl, rows = Math.ceil(entries / kTableWidth);
        let data = colours;
        if (entries % kTableWidth) {
            data = new Uint8Array(rows * kTableWidth * 4 * tables);
            for (let i = 0; i < tables; ++i)
                data.set(colours.subarray(i * entries * 4, (i + 1) * entries * 4),
                         i * rows * kTableWidth * 4);
        }
        gl.activeTexture(gl.TEXTURE2);
        gl.texImage3D(gl.TEXTURE_2D_ARRAY, 0, gl.RGBA8UI, kTableWidth, rows, tables, 0, gl.RGBA_INTEGER,
                      gl.UNSIGNED_BYTE, data);
        this.first = first;
        this.hasLabels = tables > 1;
        if (labels) this.#image(1, gl.R8UI, width, height, gl.RED_INTEGER, gl.UNSIGNED_BYTE, labels);
    }

    clear() { this.hasPixels = false; }

    /** @param {Affine} toScreen */
    draw(toScreen) {
        const gl = this.gl, { width, height } = gl.canvas, m = inverse(toScreen);
        gl.viewport(0, 0, width, height);
        if (!this.hasPixels) {
            gl.clearColor(0, 0, 0, 1);
            gl.clear(gl.COLOR_BUFFER_BIT);
            return;
        }
        const p = this.isSigned ? this.programs.signed : this.programs.unsigned;
        gl.useProgram(p.program);
        gl.uniformMatrix3x2fv(p.toImage, false, [m.a, m.b, m.c, m.d, m.e, m.f]);
        gl.uniform1f(p.screenHeight, height);
        gl.uniform1i(p.first, this.first);
        gl.uniform1i(p.isColour, Number(this.isColour));
        gl.uniform1i(p.hasLabels, Number(this.hasLabels));
        gl.drawArrays(gl.TRIANGLES, 0, 3);
    }
}

class CanvasDrawer {
    maxSide = 16384;
    /** @type {Pixels?} */ #pixels = null;
    /** @type {Uint8Array?} */ #labels = null;
    #image = document.createElement('canvas');
    #context;

    /** @param {HTMLCanvasElement} canvas */
    constructor(canvas) {
        this.#context = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d', { alpha: false }));
    }

    /** @param {Pixels} pixels @param {PixelFormat} format */
    setPixels(pixels, format) {
        this.#pixels = pixels;
        if (format.colour) this.#fill(format, (out, n) => {
            for (let i = 0; i < n; ++i)
                out[i] = 0xff000000 | pixels[3 * i + 2] << 16 | pixels[3 * i + 1] << 8 | pixels[3 * i];
        });
    }

    /** @param {Table} table @param {PixelFormat} format */
    setTable({ entries, first, tables, colours, labels }, format) {
        if (labels) this.#labels = labels;
        const pixels = /** @type {Pixels} */ (this.#pixels), of = tables > 1 ? this.#labels : null;
        const table = new Uint32Array(colours.buffer, colours.byteOffset, entries * tables);
        this.#fill(format, (out, n) => {
            for (let i = 0; i < n; ++i) out[i] = table[pixels[i] - first + (of ? of[i] * entries : 0)];
        });
    }

    /** @param {PixelFormat} format @param {(out: Uint32Array, count: number) => void} make */
    #fill({ width, height }, make) {
        const data = new ImageData(width, height);
        make(new Uint32Array(data.data.buffer), width * height);
        this.#image.width = width;
        this.#image.height = height;
        this.#image.getContext('2d')?.putImageData(data, 0, 0);
    }

    clear() { this.#image.width = 0; }

    /** @param {Affine} m */
    draw(m) {
        const context = this.#context;
        context.setTransform(1, 0, 0, 1, 0, 0);
        context.fillRect(0, 0, context.canvas.width, context.canvas.height);
        if (!this.#image.width) return;
        context.setTransform(m.a, m.b, m.c, m.d, m.e, m.f);
        context.imageSmoothingEnabled = false;
        context.drawImage(this.#image, 0, 0);
    }
}
