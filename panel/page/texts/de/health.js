// SPDX-License-Identifier: Apache-2.0

export default {
    'health.title': 'Zustand',
    'health.list': 'Störungen',
    'health.toList': 'Zu den Störungen',
    'health.connection': 'Verbindung',
    'health.since': 'Seit',
    'health.reason': 'Grund',
    'health.server': 'Audioserver',
    'health.counts': 'Gemeldet',
    'health.countsText': '{zones} Zonen, {sinks} Ausgänge, {sources} Quellen',
    'health.summary': {one: '{n} Störung', other: '{n} Störungen'},
    'health.none': 'Es sind keine Störungen gemeldet.',
    'health.zone': 'Zone ohne Ausgänge',
    'health.faultySince': 'Seit {since} ({duration})',
    'health.faultyBefore': 'Schon vor {since}',
    'health.unknown': 'Unbekannt',
    'health.healthy': 'In Ordnung',
    'health.minor': 'Leichte Störung',
    'health.major': 'Schwere Störung',
    'health.faulty': 'Gestört',
    'health.inactive': 'Inaktiv',
};
