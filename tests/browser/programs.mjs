// SPDX-License-Identifier: Apache-2.0
// The programs that the tests of a file start. What still runs at their end is killed.

import {execFileSync, spawn} from 'node:child_process';
import {existsSync, mkdtempSync, rmSync, writeFileSync} from 'node:fs';
import {createServer} from 'node:net';
import {tmpdir} from 'node:os';
import path from 'node:path';
import {createInterface} from 'node:readline';
import {after} from 'node:test';

const folder = process.env.PA_PROGRAMS;
const running = new Set();

export const work = mkdtempSync(path.join(tmpdir(), 'papanel-browser-'));

after(() => running.forEach((program) => program.child.kill('SIGKILL')));
process.on('exit', () => rmSync(work, {recursive: true, force: true}));

export function programPath(name) {
    const places = [path.join(folder, name), `/usr/sbin/${name}`, `/usr/bin/${name}`];
    return places.find((place) => existsSync(place)) ?? name;
}

export class Program {
    lines = [];
    #waiting = [];

    constructor(name, args) {
        this.name = name;
        this.child = spawn(programPath(name), args, {stdio: ['ignore', 'pipe', 'pipe']});
        running.add(this);
        for (const stream of [this.child.stdout, this.child.stderr]) {
            createInterface({input: stream}).on('line', (line) => this.#take(line));
        }
        this.ended = new Promise((resolve) => {
            this.child.on('close', (code, signal) => {
                running.delete(this);
                this.hasEnded = true;
                this.#waiting.forEach((one) => one.reject(new Error(
                    `${name} has ended (${code ?? signal}): ${this.lines.slice(-5).join('\n')}`)));
                resolve(code);
            });
        });
    }

    /// The first line that matches, printed already or later.
    line(pattern) {
        const found = this.lines.find((line) => pattern.test(line));
        return found !== undefined ? Promise.resolve(found) : new Promise((resolve, reject) => {
            this.#waiting.push({pattern, resolve, reject});
        });
    }

    async stop(signal = 'SIGTERM') {
        if (!this.hasEnded) {
            this.child.kill(signal);
        }
        return this.ended;
    }

    #take(line) {
        this.lines.push(line);
        for (const one of this.#waiting.filter(({pattern}) => pattern.test(line))) {
            one.resolve(line);
            this.#waiting.splice(this.#waiting.indexOf(one), 1);
        }
    }
}

async function freePort() {
    const server = createServer();
    await new Promise((resolve) => { server.listen(0, '127.0.0.1', resolve); });
    const {port} = server.address();
    await new Promise((resolve) => { server.close(resolve); });
    return port;
}

/// A broker on loopback; resolves to {program, url}.
export async function startBroker() {
    for (;;) {
        const port = await freePort();
        const file = path.join(work, `mosquitto-${port}.conf`);
        writeFileSync(file, `listener ${port} 127.0.0.1\nallow_anonymous true\nset_tcp_nodelay true\n`);
        const program = new Program('mosquitto', ['-c', file]);
        try {
            await program.line(/ running$/);
            return {program, url: `mqtt://127.0.0.1:${port}`};
        } catch (error) {
            if (!/in use/.test(error.message)) {
                throw error;
            }
        }
    }
}

/// The simulated server on a broker, active.
export async function startServer(broker, args = []) {
    const server = new Program('paserver', ['--broker', broker, '--role', 'active', ...args]);
    await server.line(/is active/);
    return server;
}

/// A file of users: {name: [role, password]}.
export function makeUsers(users) {
    const file = path.join(mkdtempSync(path.join(work, 'users-')), 'users');
    for (const [name, [role, password]] of Object.entries(users)) {
        execFileSync(programPath('papanel'), ['user', 'add', name, '--role', role, '--users', file],
            {input: `${password}\n`, stdio: ['pipe', 'ignore', 'inherit']});
    }
    return file;
}

/// papanel on a free port; resolves to {program, url}.
export async function startPanel(args = [], listen = '127.0.0.1:0') {
    const program = new Program('papanel', ['--listen', listen, ...args]);
    const line = await program.line(/https?:\/\//);
    return {program, url: line.match(/https?:\/\/[^\s/]+/)[0]};
}
