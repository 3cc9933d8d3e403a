// SPDX-License-Identifier: Apache-2.0

export default {
    'login.title': 'Anmelden',
    'login.expired': 'Die Sitzung ist beendet. Bitte melden Sie sich erneut an.',
};
