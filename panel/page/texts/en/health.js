// SPDX-License-Identifier: Apache-2.0

export default {
    'health.title': 'Health',
    'health.list': 'Faults',
    'health.toList': 'To the faults',
    'health.connection': 'Connection',
    'health.since': 'Since',
    'health.reason': 'Reason',
    'health.server': 'Audio server',
    'health.counts': 'Reported',
    'health.countsText': '{zones} zones, {sinks} sinks, {sources} sources',
    'health.summary': {one: '{n} fault', other: '{n} faults'},
    'health.none': 'No faults are reported.',
    'health.zone': 'Zone without sinks',
    'health.faultySince': 'Since {since} ({duration})',
    'health.faultyBefore': 'Since before {since}',
    'health.unknown': 'Unknown',
    'health.healthy': 'Healthy',
    'health.minor': 'Minor fault',
    'health.major': 'Major fault',
    'health.faulty': 'Faulty',
    'health.inactive': 'Inactive',
};
