// SPDX-License-Identifier: Apache-2.0

export default {
    'login.title': 'Log in',
    'login.expired': 'The session has ended. Please log in again.',
};
