// SPDX-License-Identifier: Apache-2.0
// Starts the page: the session, the store, the view that the address names.

import {Api, ApiError, pageId} from './api.js';
import {PageFrame} from './PageFrame.js';
import {Store} from './Store.js';
import {closeDialogs} from './dialogs.js';
import {h, replace} from './dom.js';
import {hasText, preferredLanguage, setLanguage, t} from './i18n.js';
import {clearMessages, errorText, messageRegions} from './messages.js';
import {choose, setting} from './settings.js';
import login from './views/login.js';
import {views} from './views.js';

const visibleViews = () => views.filter((view) => view.roles.includes(app.session.role));

/// What the views work with.
export const app = {
    api: new Api(),
    store: new Store(),
    /// As GET /session answers.
    session: {loggedIn: false},
    /// Why the last session has ended, for the login view; empty when it has not.
    endReason: '',

    /// Null when the user may change something now, else the reason for people.
    whyNot() {
        if (app.session.role !== 'operator') {
            return t('access.monitor');
        }
        return app.store.link().state === 'synced' ? null : t('access.away');
    },

    /// Opens the address of a view: go('board', 'Platform 1').
    go(...parts) {
        location.hash = parts.map(encodeURIComponent).join('/');
    },

    async logIn(user, password) {
        app.session = await app.api.logIn(user, password);
        app.endReason = '';
        begin();
        frame.focusView();
    },

    async logOut() {
        app.store.close();  // before the gateway ends the stream of a session that is over
        try {
            await app.api.logOut();
        } catch (error) {
            app.store.open();
            throw error.code === 'no-answer' ? new ApiError(0, 'still-logged-in', error.text) : error;
        }
        app.session = {loggedIn: false, authentication: true};
        showLogin();
    },

    setLanguage(tag) {
        choose('language', tag);
        setLanguage(tag);
        begin();
        frame.focusSettings();
    },
};

let frame = null;
let unmountLogin = null;

function clearPage() {
    closeDialogs();
    frame?.unmount();
    frame = null;
    unmountLogin?.();
    unmountLogin = null;
    replace(document.body, messageRegions());
}

function showLogin() {
    clearPage();
    clearMessages();
    document.title = t('login.title');
    const root = h('main', {class: 'login-page'});
    document.body.append(root);
    unmountLogin = login.mount(root, app, []);
}

/// Builds the page for the session, in the language of the user.
function begin() {
    clearPage();
    frame = new PageFrame(document.body, app, visibleViews());
    frame.open(location.hash);
    app.store.open();
}

/// Asks who is logged in until the gateway answers.
async function findSession() {
    for (;;) {
        try {
            return await app.api.session();
        } catch (error) {
            if (!frame) {
                replace(document.body, messageRegions(), h('main', {class: 'login-page'},
                    h('p', {role: 'status'}, errorText(error)), h('p', {}, t('frame.retrying'))));
            }
            await new Promise((resolve) => { setTimeout(resolve, 2000); });
        }
    }
}

async function start(reason) {
    app.store.close();
    const before = app.session;
    app.session = await findSession();
    if (!app.session.loggedIn) {
        app.endReason = reason;
        showLogin();
    } else if (frame && before.user === app.session.user && before.role === app.session.role) {
        // The gateway has been started again and needs no login.
        app.store.open();
    } else {
        clearMessages();
        begin();
    }
}

const hiddenPatience = 60000;
const longSleep = 20000;

let hiding = null;
let hiddenAt = 0;
let isStarting = false;

async function restart(reason) {
    if (!isStarting) {
        isStarting = true;
        await start(reason).finally(() => { isStarting = false; });
    }
}

/// A browser has six connections to a host, for all of its pages. A page that is out of sight gives its own
/// back, but not the one that has taken a source: without a page its lock would be released.
function saveConnection() {
    clearTimeout(hiding);
    if (document.hidden) {
        hiddenAt = Date.now();
        hiding = setTimeout(() => {
            if (!app.store.all('locks').some((lock) => lock.page === pageId())) {
                app.store.close();
            }
        }, hiddenPatience);
    } else if (app.session.loggedIn && (!app.store.isOpen || Date.now() - hiddenAt > longSleep)) {
        app.store.resume();  // also where the computer was asleep, and the connection may be lost
    }
}

app.api.onLoggedOut = () => restart(app.session.loggedIn ? t('login.expired') : '');
app.store.fetchStatus = () => app.api.get('/status');
app.store.onSessionEnd = (reason) => restart(
    t(hasText(`login.ended.${reason}`) ? `login.ended.${reason}` : 'login.expired'));
window.addEventListener('hashchange', () => frame?.open(location.hash));
document.addEventListener('visibilitychange', saveConnection);
window.addEventListener('online', () => app.session.loggedIn && app.store.open());
setLanguage(setting('language') ?? preferredLanguage());
restart('');
