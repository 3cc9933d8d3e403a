// SPDX-License-Identifier: Apache-2.0

export default {
    'login.title': 'Anmelden',
    'login.expired': 'Die Sitzung ist beendet. Bitte melden Sie sich wieder an.',
    'login.user': 'Benutzer',
    'login.password': 'Passwort',
    'login.submit': 'Anmelden',
    'login.wrong': 'Benutzer oder Passwort ist falsch.',
    'login.throttled': 'Zu viele Versuche.',
    'login.wait': {one: 'In {n} Sekunde ist der nächste Versuch möglich.',
        other: 'In {n} Sekunden ist der nächste Versuch möglich.'},
};
