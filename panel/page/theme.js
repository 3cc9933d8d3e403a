// SPDX-License-Identifier: Apache-2.0
// Light or dark, before anything is painted: a choice of the user, else the system's.
'use strict';

(() => {
    const system = matchMedia('(prefers-color-scheme: dark)');
    const apply = () => {
        let chosen = null;
        try {
            chosen = localStorage.getItem('theme');
        } catch {
            // Storage is switched off.
        }
        document.documentElement.dataset.theme = chosen ?? (system.matches ? 'dark' : 'light');
    };
    system.addEventListener('change', apply);
    document.addEventListener('themechange', apply);
    apply();
})();
