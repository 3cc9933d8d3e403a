// SPDX-License-Identifier: Apache-2.0
// Zones by group. The gateway's groups are made of each name by itself: a group whose zones all belong to
// one zone has that zone's name, and a zone that has a group for itself is among the others.

import {compareNames} from './format.js';
import {t} from './i18n.js';

const topOf = (zone) => zone.id.split('/', 1)[0];

/// [{name, zones}] in the order of their names, the others last.
export function groupsOf(zones) {
    const byGroup = new Map();
    for (const zone of zones) {
        const group = zone.group ?? '';
        if (!byGroup.has(group)) {
            byGroup.set(group, []);
        }
        byGroup.get(group).push(zone);
    }
    const others = [];
    const groups = [];
    for (const [group, its] of byGroup) {
        if (its.length === 1 || group === '') {
            others.push(...its);
        } else {
            const tops = new Set(its.map(topOf));
            groups.push({name: tops.size === 1 ? [...tops][0] : group, zones: its});
        }
    }
    groups.sort((a, b) => compareNames(a.name, b.name));
    if (others.length > 0) {
        groups.push({name: t('zone.otherGroup'), zones: others});
    }
    groups.forEach((group) => group.zones.sort((a, b) => compareNames(a.id, b.id)));
    return groups;
}
