// SPDX-License-Identifier: Apache-2.0

export default {
    'login.title': 'Log in',
    'login.expired': 'The session has ended. Please log in again.',
    'login.ended.idle': 'The session has ended: it was not used for too long. Please log in again.',
    'login.ended.old': 'The session has ended: it was open for too long. Please log in again.',
    'login.ended.removed': 'The session has ended: the user has been removed.',
    'login.ended.role': 'The session has ended: the user has another role. Please log in again.',
    'login.ended.password': 'The session has ended: the user has another password. Please log in again.',
    'login.ended.displaced': 'The session has ended: there are too many. Please log in again.',
    'login.ended.logout': 'You have logged out on another page.',
    'login.ended.login': 'You have logged in again on another page.',
    'login.user': 'User',
    'login.password': 'Password',
    'login.submit': 'Log in',
    'login.wrong': 'User or password is wrong.',
    'login.throttled': 'Too many attempts.',
    'login.wait': {one: 'Try again in {n} second.', other: 'Try again in {n} seconds.'},
};
