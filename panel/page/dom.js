// SPDX-License-Identifier: Apache-2.0
// Builds elements. Texts become text nodes and attributes come from a fixed list, so that no text of
// a record or of a user becomes markup.

const elementNames = new Set(['a', 'article', 'audio', 'bdi', 'button', 'caption', 'code', 'datalist', 'dd',
    'details', 'dialog', 'div', 'dl', 'dt', 'em', 'fieldset', 'footer', 'form', 'h1', 'h2', 'h3', 'h4',
    'header', 'hr', 'input', 'kbd', 'label', 'legend', 'li', 'main', 'menu', 'meter', 'nav', 'ol',
    'optgroup', 'option', 'output', 'p', 'progress', 'section', 'select', 'small', 'span', 'strong',
    'summary', 'table', 'tbody', 'td', 'textarea', 'tfoot', 'th', 'thead', 'time', 'tr', 'ul']);

const attributeNames = new Set(['accept', 'autocomplete', 'class', 'cols', 'colspan', 'controls',
    'datetime', 'dir', 'download', 'for', 'form', 'href', 'id', 'inputmode', 'lang', 'list', 'low', 'max',
    'maxlength', 'method', 'min', 'minlength', 'multiple', 'name', 'pattern', 'placeholder', 'preload',
    'readonly', 'required', 'role', 'rows', 'rowspan', 'scope', 'spellcheck', 'src', 'step', 'tabindex',
    'title', 'type', 'wrap']);

// Set as properties: they are states, not initial values.
const propertyNames = new Set(['checked', 'disabled', 'hidden', 'indeterminate', 'open', 'selected',
    'value']);

// Control characters, marks that turn the direction of writing, and what has no width, but for the joiners
// that scripts need.
const invisible = new RegExp('[\\u0000-\\u0008\\u000b-\\u001f\\u007f-\\u009f\\u00ad\\u061c\\u200b\\u200e\\u200f'
    + '\\u2028-\\u202e\\u2060-\\u2069\\ufeff]', 'g');

/// The text with what cannot be seen written out, as "\u{202E}".
function visible(text) {
    return String(text).replace(invisible,
        (one) => `\\u{${one.codePointAt(0).toString(16).toUpperCase().padStart(4, '0')}}`);
}

/// An element with attributes and children: h('p', {class: 'note', on: {click: f}}, 'text', child).
/// Children are texts, nodes, lists of them, or null and false, which are skipped.
export function h(name, attributes, ...children) {
    if (!elementNames.has(name)) {
        throw new Error(`element '${name}' is not known`);
    }
    const element = document.createElement(name);
    for (const [key, value] of Object.entries(attributes ?? {})) {
        if (key === 'on') {
            for (const [event, handler] of Object.entries(value)) {
                element.addEventListener(event, handler);
            }
        } else {
            set(element, key, value);
        }
    }
    append(element, children);
    // A value that depends on the options or the limits of an element is set after them.
    if (attributes && 'value' in attributes) {
        set(element, 'value', attributes.value);
    }
    return element;
}

/// Sets an attribute, or removes it (null, undefined, false), if it is not so already.
export function set(element, name, value) {
    if (propertyNames.has(name)) {
        const wanted = name === 'value' ? String(value ?? '') : Boolean(value);
        if (element[name] !== wanted) {
            element[name] = wanted;
        }
        return;
    }
    const isAria = name.startsWith('aria-');
    if (!isAria && !name.startsWith('data-') && !attributeNames.has(name)) {
        throw new Error(`attribute '${name}' is not known`);
    }
    if (value === null || value === undefined || (value === false && !isAria)) {
        if (element.hasAttribute(name)) {
            element.removeAttribute(name);
        }
        return;
    }
    const text = value === true && !isAria ? '' : visible(value);
    if ((name === 'href' || name === 'src') && !/^(#|blob:|\/(?!\/))/.test(text)) {
        throw new Error(`'${text}' is no address of this page`);
    }
    if (element.getAttribute(name) !== text) {
        element.setAttribute(name, text);
    }
}

/// Gives an element a text in place of its content, if it does not have it already.
export function setText(element, text) {
    const wanted = visible(text ?? '');
    if (element.childNodes.length === 1 && element.firstChild.nodeType === Node.TEXT_NODE) {
        if (element.firstChild.data !== wanted) {
            element.firstChild.data = wanted;
        }
    } else if (wanted !== '' || element.firstChild) {
        element.textContent = wanted;
    }
}

/// Gives an element children in place of its content.
export function replace(element, ...children) {
    element.replaceChildren();
    append(element, children);
    return element;
}

export function append(element, children) {
    for (const child of children.flat(Infinity)) {
        if (child instanceof Node) {
            element.append(child);
        } else if (child !== null && child !== undefined && child !== false) {
            element.append(visible(child));
        }
    }
}

let lastId = 0;

/// An id that no other element has, for labels.
export function newId() {
    lastId += 1;
    return `e${lastId}`;
}
