// SPDX-License-Identifier: Apache-2.0
// Schedules as values: what a new one is, its dates and times, and when its runs are in a week.

/// Types of an audio or visual part, as the records number them.
export const PartType = {StoredData: 1, Items: 2, Speech: 4, None: 7, Display: 9, SavedSpeech: 10, SavedData: 11};

export const minutesOfDay = 24 * 60;
const dayMS = minutesOfDay * 60000;

/// Every member of a definition with its first value. The gateway accepts no others.
export function blankSchedule(today) {
    const [year, month, day] = today.split('-').map(Number);
    return {
        Id: 0, descrption: '',
        startYear: year, startMonth: month, startDay: day, startHour: 6, startMinute: 0,
        endYear: 2099, endMonth: 12, endDay: 31, endHour: 23, endMinute: 59,
        dayMask: 127, frequency: 0, paZones: [], priorityMode: 0, priorityLevel: 500,
        announcementType: PartType.Speech, visualAnnouncementType: PartType.None,
        dictionaryItems: [], repeatCnt: 1, ttsList: [], storedDataSourceId: 0, storedDataFilePath: '',
        displayTemplateName: '', displayTemplateKeyValueList: {}, displayTemplateValidityPeriodSeconds: 0,
        gain: 0, chime: '',
    };
}

const voiceMembers = ['portNo', 'text', 'language', 'voice', 'rate', 'encoding'];

/// The definition of a record: without its texts.
export function definitionOf(record) {
    const definition = {};
    for (const name of Object.keys(blankSchedule('2000-01-01'))) {
        if (record[name] !== undefined) {
            definition[name] = structuredClone(record[name]);
        }
    }
    const known = (spoken) => Object.entries(spoken).filter(([name]) => voiceMembers.includes(name));
    definition.ttsList = (definition.ttsList ?? []).map((spoken) => Object.fromEntries(known(spoken)));
    return definition;
}

const speech = [PartType.Speech, PartType.SavedSpeech];
const stored = [PartType.StoredData, PartType.SavedData];

/// What the audio part of a definition is composed of, as the editors name it.
export function audioOf(definition) {
    const type = definition.announcementType;
    return type === PartType.Items ? 'items' : speech.includes(type) ? 'texts'
        : stored.includes(type) ? 'recording' : 'none';
}

/// What changes for another kind of audio part; what the server saves stays saved.
export function withAudio(definition, kind) {
    if (audioOf(definition) === kind) {
        return {};
    }
    const announcementType = {items: PartType.Items, texts: PartType.Speech, recording: PartType.StoredData,
        none: PartType.None}[kind];
    return {announcementType};
}

/// The definition as it is sent: without what does not belong to its parts.
export function cleaned(definition) {
    const audio = audioOf(definition);
    const hasDisplay = definition.visualAnnouncementType !== PartType.None;
    const blank = blankSchedule('2000-01-01');
    const keep = (is, ...names) => (is ? {} : Object.fromEntries(names.map((name) => [name, blank[name]])));
    return {...definition,
        ...keep(audio === 'items', 'dictionaryItems', 'repeatCnt'),
        ...keep(audio === 'recording', 'storedDataFilePath', 'storedDataSourceId'),
        ...keep(hasDisplay, 'displayTemplateName', 'displayTemplateKeyValueList',
            'displayTemplateValidityPeriodSeconds'),
        ttsList: audio === 'texts' ? definition.ttsList.filter((spoken) => spoken.text.trim()) : []};
}

/// Why a definition cannot be saved: the key of a text; null when it can.
export function whatIsMissing(definition) {
    const audio = audioOf(definition);
    const {ttsList, dictionaryItems, storedDataFilePath} = cleaned(definition);
    const hasAudio = {texts: ttsList.length > 0, items: dictionaryItems.length > 0,
        recording: storedDataFilePath !== '', none: true}[audio];
    const hasDisplay = definition.visualAnnouncementType !== PartType.None;
    if (definition.paZones.length === 0) {
        return 'announce.missing.zones';
    }
    if (definition.dayMask === 0) {
        return 'schedules.missing.days';
    }
    const [start, end] = ['start', 'end'].map((which) => Object.values(momentOf(definition, which)).join('T'));
    if (end < start) {
        return 'schedules.missing.order';
    }
    if (hasDisplay && !definition.displayTemplateName) {
        return 'announce.missing.template';
    }
    if (!hasAudio) {
        return `announce.missing.${audio}`;
    }
    return audio === 'none' && !hasDisplay ? 'announce.missing.content' : null;
}

const two = (number) => String(number).padStart(2, '0');

/// "06:05" for 365
export function clockText(minutes) {
    return `${two(Math.floor(minutes / 60))}:${two(minutes % 60)}`;
}

/// A moment of a definition as two texts, "2026-12-01" and "06:00"; `which` is "start" or "end".
export function momentOf(definition, which) {
    const part = (name) => definition[which + name];
    return {
        date: `${String(part('Year')).padStart(4, '0')}-${two(part('Month'))}-${two(part('Day'))}`,
        time: clockText(part('Hour') * 60 + part('Minute')),
    };
}

/// Puts a moment into a definition, which it returns.
export function setMoment(definition, which, {date, time}) {
    const [year, month, day] = date.split('-').map(Number);
    const [hour, minute] = time.split(':').map(Number);
    return Object.assign(definition, {
        [`${which}Year`]: year, [`${which}Month`]: month, [`${which}Day`]: day,
        [`${which}Hour`]: hour, [`${which}Minute`]: minute,
    });
}

/// The day `count` days after "2026-12-01".
export function addDays(date, count) {
    return new Date(Date.parse(`${date}T00:00Z`) + count * dayMS).toISOString().slice(0, 10);
}

/// 0 for Monday.
export function weekday(date) {
    return (new Date(`${date}T00:00Z`).getUTCDay() + 6) % 7;
}

/// The Monday of a day's week.
export function mondayOf(date) {
    return addDays(date, -weekday(date));
}

const minuteOf = (time) => Number(time.slice(0, 2)) * 60 + Number(time.slice(3));

/// What a schedule fills of the seven days from `monday` on: {day, from, to, every} in minutes of the
/// day, by the station's clocks. A window that passes midnight is two of them. A single run has
/// `to` = `from`.
export function windowsInWeek(definition, monday) {
    const start = momentOf(definition, 'start');
    const end = momentOf(definition, 'end');
    const from = minuteOf(start.time);
    const to = minuteOf(end.time);
    const every = definition.frequency;
    const windows = [];
    for (let day = -1; day < 7; ++day) {
        const date = addDays(monday, day);
        const runs = date >= start.date && date <= end.date && definition.dayMask & (1 << weekday(date));
        if (!runs) {
            continue;
        }
        if (every <= 0) {
            windows.push({day, from, to: from, every: 0});
        } else if (from <= to) {
            windows.push({day, from, to, every});
        } else {
            windows.push({day, from, to: minutesOfDay, every}, {day: day + 1, from: 0, to, every});
        }
    }
    return windows.filter((window) => window.day >= 0 && window.day < 7);
}

/// Puts windows that are there at the same time beside each other: sets `column` and `columns` of
/// each. A window takes at least `least` minutes of the drawing.
export function layOut(windows, least) {
    const ordered = [...windows].sort((a, b) => a.from - b.from || b.to - a.to);
    let cluster = [];
    let ends = [];  // of the columns of the cluster
    const close = () => {
        cluster.forEach((window) => { window.columns = ends.length; });
        cluster = [];
        ends = [];
    };
    for (const window of ordered) {
        if (ends.every((end) => end <= window.from)) {
            close();
        }
        const free = ends.findIndex((end) => end <= window.from);
        const column = free < 0 ? ends.length : free;
        ends[column] = Math.max(window.to, window.from + least);
        window.column = column;
        cluster.push(window);
    }
    close();
    return ordered;
}
