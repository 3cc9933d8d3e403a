// SPDX-License-Identifier: Apache-2.0

export default {
    'login.title': 'Log in',
    'login.expired': 'The session has ended. Please log in again.',
    'login.user': 'User',
    'login.password': 'Password',
    'login.submit': 'Log in',
    'login.wrong': 'User or password is wrong.',
    'login.throttled': 'Too many attempts.',
    'login.wait': {one: 'Try again in {n} second.', other: 'Try again in {n} seconds.'},
};
