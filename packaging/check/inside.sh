#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# What script/check-package runs in a bare system: /check has the packages of two releases, an
# application and the examples. Whatever fails ends it.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive HOME=/root LC_ALL=C.UTF-8
cd /check

declare -A started=()
trap 'kill "${started[@]}" 2>/dev/null || true' EXIT
fail() { echo "check-package: $1" >&2; tail -n 20 ./*.log >&2 || true; exit 1; }
step() { echo "== $1"; }

# Everything but what the package manager keeps for itself.
files() {
  find / -xdev \( -path /check -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path /var/cache \
    -o -path /var/log -o -path /tmp -o -path /root \) -prune -o -print | sort
}

step 'installs'
mapfile -t packages < <(for file in 1/*.deb; do dpkg-deb -f "$file" Package; done)
own=$(printf '%s\n' "${packages[@]}" | paste -sd '|')
dependencies=$(for file in 1/*.deb; do dpkg-deb -f "$file" Depends; done |
  sed 's/, /\n/g' | grep -vE "^($own) " | sort -u | paste -sd ,)
apt-get satisfy -qq -y --no-install-recommends "$dependencies" >apt.log 2>&1 || fail 'a dependency is missing'
files >before
dpkg -i 1/*.deb >dpkg.log 2>&1 || fail 'the packages do not install'

step 'the console, its pages and its completion'
paconsole --version
[ "$(paconsole list zones | grep -c Platform)" -gt 1 ] || fail 'no zones'
paconsole --speed 20 demo >demo.log 2>&1 || fail 'the demonstration fails'
for page in paconsole.1 papanel.8 paserver.8 paserver-scenario.5; do
  man --warnings -P cat "${page%.*}" 2>&1 >"$page.txt" | grep . && fail "faults in $page"
  [ "$(wc -l <"$page.txt")" -gt 30 ] || fail "$page is short"
done
grep -q -- '--dry-run' paconsole.1.txt || fail 'an option of play is not in the manual page'
grep -h 'TEXT:\|INT in\|Excludes:\|Needs:\|REQUIRED' paconsole.1.txt papanel.8.txt paserver.8.txt &&
  fail "the pages have the parser's notation"
for section in DESCRIPTION 'EXIT STATUS' FILES; do
  [ "$(grep -lx "$section" paconsole.1.txt papanel.8.txt paserver.8.txt | wc -l)" -eq 3 ] || fail "a page has no $section"
done
complete_bash() {
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
  "_$1"
  echo "${COMPREPLY[*]}"
}
source /usr/share/bash-completion/completions/paconsole
source /usr/share/bash-completion/completions/papanel
[ "$(complete_bash paconsole pl)" = play ] || fail 'bash does not complete a command'
[ "$(complete_bash paconsole zone '')" = 'members attach detach' ] || fail 'bash offers more than the commands'
[ "$(complete_bash paconsole --format json zone attach --so)" = --source ] || fail 'bash does not complete an option'
[ "$(complete_bash paconsole --format '')" = 'text json' ] || fail 'bash does not complete a value'
[ "$(complete_bash paconsole list zones --format '')" = 'text json' ] ||
  fail 'bash does not complete a value after a command'
[ "$(complete_bash paconsole list zones --fo)" = --format ] || fail 'bash does not complete an option after a command'
[ "$(zsh -c 'compadd() { print -r -- "$*" }
  words=(paconsole --format json zone "") CURRENT=5
  source /usr/share/zsh/vendor-completions/_paconsole')" = '-- members attach detach' ] ||
  fail 'zsh does not complete'
[ "$(complete_bash papanel user add ann --role '')" = 'operator monitor' ] || fail 'bash does not complete a role'
[ "$(complete_bash papanel user list --)" = '--help --users' ] || fail 'bash offers options that a tool does not have'

step 'a script'
cat >announce.py <<'END'
import publicaddress as pa
with pa.Connection(scenario="/usr/share/public-address/scenarios/tram.json", speed=5):
    message = pa.Message()
    message.set_audio_text("Next stop: Harbour Square", "en", "Nora")
    assert pa.Announcement(["Car 1"], message).wait(60) == pa.Announcement.State.FINISHED
END
python3 -X dev announce.py || fail 'a script does not play'

step 'the page'
echo 'correct horse' | papanel user add ann --role operator --users users >/dev/null
papanel --config /etc/papanel/papanel.toml --listen 127.0.0.1:0 --users users --audit audit.sqlite --speed 20 \
  >panel.url 2>panel.log &
started[panel]=$!
cat >panel.py <<'END'
import json, sys, time, urllib.error, urllib.request
url = sys.argv[1].rstrip("/")
headers = {"Content-Type": "application/json"}

def ask(method, path, body=None, key=None):
    request = urllib.request.Request(url + path, method=method, headers={**headers, "Idempotency-Key": key or "-"},
                                     data=None if body is None else json.dumps(body).encode())
    with urllib.request.urlopen(request) as answer:
        return answer, answer.read()

def status(path):
    try:
        return ask("GET", path)[0].status
    except urllib.error.HTTPError as error:
        return error.code

assert b"<html" in ask("GET", "/")[1]
assert status("/api/v1/zones") == 401
answer, session = ask("POST", "/api/v1/session", {"user": "ann", "password": "correct horse"})
headers["Cookie"] = answer.headers["Set-Cookie"].split(";")[0]
headers["X-CSRF-Token"] = json.loads(session)["csrf"]
while status("/healthz") != 200:
    time.sleep(0.1)
sent = json.loads(ask("POST", "/api/v1/announcements", {"zones": ["Platform 1"], "items": [12]}, "k")[1])
state = sent
while not state["isOver"]:
    time.sleep(0.1)
    state = json.loads(ask("GET", "/api/v1/announcements/" + sent["requestId"])[1])
assert state["state"] == "finished", state
assert b'outcome="finished"} 1\n' in ask("GET", "/metrics")[1]
END
for _ in {1..100}; do
  [ ! -s panel.url ] || break
  kill -0 "${started[panel]}" 2>/dev/null || fail 'papanel does not start'
  sleep 0.1
done
timeout 60 python3 panel.py "$(cat panel.url)" || fail 'the page does not play'
kill "${started[panel]}"
wait "${started[panel]}" || fail 'papanel does not stop'
unset 'started[panel]'

step 'a server, and applications that link the libraries in four ways'
for _ in {1..10}; do
  port=$((20000 + RANDOM % 30000))
  printf 'listener %d 127.0.0.1\nallow_anonymous true\nmax_queued_messages 1000000\n' $port >broker.conf
  mosquitto -c broker.conf >broker.log 2>&1 &
  started[broker]=$!
  until (exec 3<>/dev/tcp/127.0.0.1/$port) 2>/dev/null; do
    kill -0 "${started[broker]}" 2>/dev/null || continue 2
    sleep 0.1
  done
  break
done
paserver --broker mqtt://127.0.0.1:$port --scenario /etc/paserver/central-station.json --speed 20 \
  >server.log 2>&1 &
started[server]=$!

cmake -S application -B found -G Ninja >cmake.log
ninja -C found >>cmake.log || fail 'the application does not build with find_package'
flags() { pkg-config "$@" public-address-client public-address-mqtt; }
c++ -std=c++17 application/consumer.cpp $(flags --cflags --libs) -o found/pkg-config
# The static libraries of the SDK, the others as they come.
c++ -std=c++17 application/consumer.cpp $(flags --cflags) \
  $(flags --static --libs | sed -E 's/-l(public-address[a-z-]*)/-l:lib\1.a/g') -o found/pkg-config-static
for program in consumer consumer-static pkg-config pkg-config-static; do
  shared=$(ldd found/$program | grep -c libpublic-address || true)
  [ "$shared" -eq "$([[ $program = *-static ]] && echo 0 || echo 3)" ] || fail "$program has $shared libraries"
  found/$program mqtt://127.0.0.1:$port 'Platform 1' || fail "$program fails"
done
! cmake -S application -B wrong -G Ninja -D VERSION=0.2 >/dev/null 2>&1 || fail 'another version is found'

# The examples.
cmake -S examples -B found/examples -G Ninja >>cmake.log
ninja -C found/examples >>cmake.log || fail 'the examples do not build with find_package'
for example in coroutine importSchedules ownLoop panel recorder tutorial; do
  standard=c++17
  [ $example != coroutine ] || standard=c++20
  c++ -std=$standard examples/$example.cpp $(flags --cflags --libs) -o found/$example ||
    fail "$example does not build with pkg-config"
done
[[ "$(echo q | found/panel --server 127.0.0.1:$port)" = *'Platform 1'* ]] || fail 'the panel shows no zones'

# The inline functions of all headers need nothing that the libraries keep to themselves, but for the
# parts of the broker's transport.
(cd /usr/include && find public-address -name '*.h' | sed 's/.*/#include <&>/'; echo 'int main() {}') >all.cpp
c++ -std=c++17 -O0 -fkeep-inline-functions all.cpp $(flags --cflags --libs) -o found/all 2>&1 |
  grep -o 'undefined reference to `.*' | grep -vE 'palink::Record(Mirror|Decoder)|std::' &&
  fail 'functions of the headers are not exported'

step 'upgrades, keeps settings, and leaves nothing'
echo '# ours' >>/etc/paserver/1.conf
dpkg -i 2/*.deb >>dpkg.log 2>&1 || fail 'the packages do not upgrade'
dpkg-query -W -f '${Version}\n' "${packages[@]}" | grep -v -- '-2$' && fail 'a package is not upgraded'
grep -q '^# ours' /etc/paserver/1.conf || fail 'the upgrade has replaced a setting'
found/consumer mqtt://127.0.0.1:$port 'Platform 1' || fail 'an application fails after the upgrade'
kill "${started[@]}"
wait "${started[@]}" 2>/dev/null || true
started=()
mkdir -p /var/lib/paserver/1 /var/lib/papanel && touch /etc/paserver/1.credentials /etc/papanel/users
dpkg --purge "${packages[@]}" >>dpkg.log 2>&1 || fail 'the packages cannot be purged'
files >after
diff before after || fail 'something is left, or missing, after the purge'
