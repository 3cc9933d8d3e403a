// SPDX-License-Identifier: Apache-2.0

export default {
    'login.title': 'Anmelden',
    'login.expired': 'Die Sitzung ist beendet. Bitte melden Sie sich wieder an.',
    'login.ended.idle': 'Die Sitzung ist beendet: sie wurde zu lange nicht benutzt. Bitte melden Sie sich wieder an.',
    'login.ended.old': 'Die Sitzung ist beendet: sie war zu lange offen. Bitte melden Sie sich wieder an.',
    'login.ended.removed': 'Die Sitzung ist beendet: der Benutzer wurde entfernt.',
    'login.ended.role': 'Die Sitzung ist beendet: der Benutzer hat eine andere Rolle. Bitte melden Sie sich wieder an.',
    'login.ended.password': 'Die Sitzung ist beendet: der Benutzer hat ein anderes Passwort. Bitte melden Sie sich '
        + 'wieder an.',
    'login.ended.displaced': 'Die Sitzung ist beendet: es sind zu viele. Bitte melden Sie sich wieder an.',
    'login.ended.logout': 'Sie haben sich auf einer anderen Seite abgemeldet.',
    'login.ended.login': 'Sie haben sich auf einer anderen Seite wieder angemeldet.',
    'login.user': 'Benutzer',
    'login.password': 'Passwort',
    'login.submit': 'Anmelden',
    'login.wrong': 'Benutzer oder Passwort ist falsch.',
    'login.throttled': 'Zu viele Versuche.',
    'login.wait': {one: 'In {n} Sekunde ist der nächste Versuch möglich.',
        other: 'In {n} Sekunden ist der nächste Versuch möglich.'},
};
