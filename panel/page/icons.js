// SPDX-License-Identifier: Apache-2.0
// Icons as paths in a square of 24 units, drawn with the colour of the text.

const paths = {
    board: 'M3 3h8v8H3zM13 3h8v8h-8zM3 13h8v8H3zM13 13h8v8h-8z',
    announce: 'M3 10v4h4l9 5V5l-9 5zM19 8a5 5 0 0 1 0 8',
    live: 'M12 3a3 3 0 0 0-3 3v5a3 3 0 0 0 6 0V6a3 3 0 0 0-3-3zM6 11a6 6 0 0 0 12 0M12 17v4M8 21h8',
    schedules: 'M4 5h16v16H4zM4 10h16M8 3v4M16 3v4M8 14h3M13 14h3',
    health: 'M3 12h4l3-8 4 16 3-8h4',
    history: 'M12 3a9 9 0 1 1-8.5 6M3 4v5h5M12 7v5l4 2',
    close: 'M5 5l14 14M19 5L5 19',
    search: 'M10 4a6 6 0 1 0 0 12 6 6 0 0 0 0-12zM15 15l6 6',
    play: 'M6 4l14 8-14 8z',
    stop: 'M6 6h12v12H6z',
    lock: 'M6 11h12v10H6zM8 11V8a4 4 0 0 1 8 0v3',
    unlock: 'M6 11h12v10H6zM8 11V8a4 4 0 0 1 7-2.6',
    warning: 'M12 3L2 21h20zM12 10v5M12 17.5v.5',
    check: 'M4 12l6 6L20 6',
    plus: 'M12 4v16M4 12h16',
    trash: 'M4 7h16M9 7V4h6v3M6 7l1 14h10l1-14M10 11v6M14 11v6',
    edit: 'M4 20h4L20 8l-4-4L4 16zM14 6l4 4',
    download: 'M12 3v12M7 10l5 5 5-5M4 21h16',
    upload: 'M12 21V9M7 14l5-5 5 5M4 3h16',
    user: 'M12 4a4 4 0 1 0 0 8 4 4 0 0 0 0-8zM4 21a8 8 0 0 1 16 0',
    settings: 'M4 7h10M18 7h2M4 17h2M10 17h10M16 4.5v5M8 14.5v5',
    speaker: 'M4 9v6h4l6 5V4L8 9zM17 9a4 4 0 0 1 0 6',
    up: 'M5 15l7-7 7 7',
    down: 'M5 9l7 7 7-7',
};

const svg = 'http://www.w3.org/2000/svg';

/// An icon that assistive technology skips: what has it needs a name of its own.
export function icon(name) {
    const element = document.createElementNS(svg, 'svg');
    element.setAttribute('viewBox', '0 0 24 24');
    element.setAttribute('class', 'icon');
    element.setAttribute('aria-hidden', 'true');
    element.setAttribute('focusable', 'false');
    const path = document.createElementNS(svg, 'path');
    path.setAttribute('d', paths[name]);
    element.append(path);
    return element;
}
