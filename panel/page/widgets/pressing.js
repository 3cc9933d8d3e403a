// SPDX-License-Identifier: Apache-2.0
// What holds for buttons that begin operations: a press is not taken while the last one runs, nor the second one
// of a double click, and the focus stays near a button that is removed, hidden or disabled.

const doublePress = 600;

/// A handler that ignores calls while the last one runs, and the second one of a double press.
export function once(run) {
    let isRunning = false;
    let began = -Infinity;
    return async (...given) => {
        if (isRunning || performance.now() - began < doublePress) {
            return;
        }
        isRunning = true;
        began = performance.now();
        try {
            await run(...given);
        } finally {
            isRunning = false;
        }
    };
}

const canHaveFocus = (element) => element?.isConnected && !element.disabled && element.getClientRects().length > 0;

/// Gives the focus to the first of the elements that can have it, if nothing else has it.
export function keepFocus(...elements) {
    const at = document.activeElement;
    if (!at || at === document.body || !canHaveFocus(at)) {
        elements.find(canHaveFocus)?.focus();
    }
}

/// Runs `fill`, which makes the content of an element again. The focus stays on the control with the same
/// `data-key` or the same name.
export function refill(element, fill) {
    const nameOf = (control) => control.dataset.key ?? control.getAttribute('aria-label');
    const focused = element.contains(document.activeElement) ? nameOf(document.activeElement) : null;
    const {scrollTop} = element;
    fill();
    element.scrollTop = scrollTop;
    if (focused !== null) {
        [...element.querySelectorAll('button, input')].find((control) => nameOf(control) === focused)
            ?.focus({preventScroll: true});
    }
}
