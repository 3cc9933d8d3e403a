// SPDX-License-Identifier: Apache-2.0
// What holds for buttons that begin operations: a second press while the first one runs is not taken, and
// the focus stays near a button that is removed, hidden or disabled.

/// A handler that ignores calls while the last one runs.
export function once(run) {
    let isRunning = false;
    return async (...given) => {
        if (isRunning) {
            return;
        }
        isRunning = true;
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
