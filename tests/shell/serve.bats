#!/usr/bin/env bats
# SPDX-License-Identifier: Apache-2.0
# Copyright the Xperiment authors
#
# The page live: what is answered, and to whom.

load xp.bash

teardown() {
  stop_serving
}

# Serves the project; `address` is what it printed, `base` the address without its token.
serve() {
  mkfifo served
  "$xp" -C proj serve "$@" >served 2>serve.log 3>&- &
  server=$!
  exec 5<served
  read -r -t 60 address <&5
  base=${address%%\?*}
  token=${address##*token=}
}

stop_serving() {
  [ -n "${server-}" ] || return 0
  kill -KILL "$server" 2>/dev/null || :
  wait "$server" 2>/dev/null || :
}

# ask METHOD PATH [HEADER...]: the status, then the headers, then the body in the file body.
ask() {
  "$python" - "$base" "$@" <<'PY'
import http.client, sys, urllib.parse
base, method, path, *headers = sys.argv[1:]
place = urllib.parse.urlsplit(base)
connection = http.client.HTTPConnection(place.hostname, place.port, timeout=60)
connection.putrequest(method, path, skip_host=any(h.lower().startswith("host:") for h in headers))
for header in headers:
    connection.putheader(*header.split(": ", 1))
connection.endheaders()
answer = connection.getresponse()
print(answer.status)
for name, value in sorted(answer.getheaders()):
    print(f"{name}: {value}")
open("body", "wb").write(answer.read())
PY
}

status_is() {
  [ "${lines[0]}" = "$1" ] || { echo "status ${lines[0]}, not $1" >&2; cat body >&2; return 1; }
}

@test "the page and its data are for those who know the token" {
  new_project_with_runs
  serve
  [[ $address =~ ^http://127\.0\.0\.1:[0-9]+/\?token=[0-9a-f]{32}$ ]]
  run -0 ask GET "/?token=$token"
  status_is 200
  [[ $output == *'Content-Type: text/html'* ]]
  [[ $output == *'Cache-Control: no-store'* ]]
  [[ $output == *"Content-Security-Policy: default-src 'none'"* ]]
  [[ $output == *'X-Content-Type-Options: nosniff'* ]]
  [[ $output == *'Referrer-Policy: no-referrer'* ]]
  [[ $output != *Access-Control* ]]
  grep -q 'id="xp-data"' body
  run -0 ask GET "/data.json?token=$token"
  status_is 200
  "$build_dir/bin/schema_check" body "$source_dir/data/schemas/json/page.schema.json"
  [ "$(json 'j["live"], len(j["runs"])' <body)" = '(True, 2)' ]
  for path in / /data.json "/?token=" "/?token=${token%?}" "/?token=${token}0" "/log/impl_1" \
    "/?token=00000000000000000000000000000000" "/nothing"; do
    run -0 ask GET "$path"
    status_is 403
    run ! grep -q "$token" body
    run ! grep -q impl_1 body
  done
}

@test "a name that leads to this host from elsewhere is refused" {
  new_project
  serve
  port=${base##*:}
  port=${port%/}
  for host in evil.example "evil.example:$port" "127.0.0.1" "127.0.0.1:1" "127.0.0.1:$port.evil" ""; do
    run -0 ask GET "/?token=$token" "Host: $host"
    [[ ${lines[0]} == 40[03] ]]
    run ! grep -q xp-data body
  done
  run -0 ask GET "/?token=$token" "Host: localhost:$port"
  status_is 200
}

@test "what the client has isn't sent again, until something changed" {
  new_project_with_runs
  serve
  run -0 ask GET "/data.json?token=$token"
  tag=$(sed -n 's/^ETag: //p' <<<"$output")
  [[ $tag == '"'*'"' ]]
  run -0 ask GET "/data.json?token=$token" "If-None-Match: $tag"
  status_is 304
  [ ! -s body ]
  "$xp" -C proj create impl_2 --flow impl 2>/dev/null
  run -0 ask GET "/data.json?token=$token" "If-None-Match: $tag"
  status_is 200
  [ "$(json '[r["name"] for r in j["runs"]]' <body)" = "['synth_1', 'impl_1', 'impl_2']" ]
}

@test "logs and reports are found by the names of runs, never by a path" {
  new_project_with_runs
  "$xp" -C proj launch synth_1 --no-wait >/dev/null 2>&1 || :
  "$xp" -C proj wait synth_1 >/dev/null 2>&1 || :
  serve
  if [ -e proj/runs/synth_1/runme.log ]; then
    run -0 ask GET "/log/synth_1?token=$token"
    status_is 200
    [[ $output == *'Content-Type: text/plain; charset=utf-8'* ]]
    cmp <(cat proj/runs/synth_1/runme.log) body
  fi
  for path in /log/impl_9 /log/ /log /log/../project.xml /log/%2e%2e%2fproject.xml /../../etc/passwd \
    /log/synth_1/../../project.xml /log//etc/passwd /log/..%2f..%2fproject.xml /report/synth_1 \
    /report/synth_1/ /report/synth_1/../runme.log /report/synth_1/..%2frunme.log /project.xml \
    /favicon.ico //; do
    run -0 ask GET "$path?token=$token"
    [[ ${lines[0]} == 40[04] ]]
  done
}

@test "only reading is answered" {
  new_project
  serve
  run -0 ask HEAD "/?token=$token"
  status_is 200
  [ ! -s body ]
  for method in POST PUT DELETE OPTIONS PATCH; do
    run -0 ask $method "/?token=$token" 'Content-Length: 0'
    [[ ${lines[0]} == 40[05] ]]
  done
}

@test "what is too long or no request at all is refused, and the server goes on" {
  new_project
  serve
  "$python" - "$base" "$token" <<'PY'
import socket, sys, urllib.parse
place = urllib.parse.urlsplit(sys.argv[1])
def send(data):
    with socket.create_connection((place.hostname, place.port), timeout=60) as client:
        client.sendall(data)
        client.shutdown(socket.SHUT_WR)
        answer = b""
        try:
            while part := client.recv(65536):
                answer += part
        except ConnectionResetError:
            pass
        return answer
host = f"Host: 127.0.0.1:{place.port}\r\n".encode()
token = sys.argv[2].encode()
for data in (b"GET /" + b"a" * 100000 + b" HTTP/1.1\r\n" + host + b"\r\n",
             b"GET /?token=" + b"a" * 5000 + b" HTTP/1.1\r\n" + host + b"\r\n",
             b"GET /?token=x HTTP/1.1\r\n" + host + b"X: " + b"b" * 100000 + b"\r\n\r\n",
             b"\0\1\2\3\r\n\r\n", b"\r\n\r\n", b"GET", b"",
             b"POST /?token=x HTTP/1.1\r\n" + host + b"Content-Length: 99999999999\r\n\r\nabc",
             b"POST /?token=x HTTP/1.1\r\n" + host + b"Transfer-Encoding: chunked\r\n\r\nfffffff\r\n"):
    answer = send(data)
    assert b" 200 " not in answer.split(b"\r\n")[0], answer[:200]
    assert b"xp-data" not in answer
# What is behind a request's head is no second request.
answer = send(b"GET /nothing?token=" + token + b" HTTP/1.1\r\n" + host +
              b"Content-Length: 9\r\n\r\nGET /?token=" + token + b" HTTP/1.1\r\n" + host + b"\r\n")
assert answer.count(b"HTTP/1.1 ") <= 1 and b"xp-data" not in answer, answer[:300]
PY
  run -0 ask GET "/?token=$token"
  status_is 200
}

@test "many may ask at once" {
  new_project_with_runs
  serve
  "$python" - "$address" <<'PY'
import concurrent.futures, json, sys, urllib.request
address = sys.argv[1].replace("/?", "/data.json?")
def ask(_):
    with urllib.request.urlopen(address, timeout=100) as answer:
        return len(json.load(answer)["runs"])
with concurrent.futures.ThreadPoolExecutor(32) as pool:
    assert set(pool.map(ask, range(100))) == {2}
PY
}

@test "a project that goes away is told, and found again when it is back" {
  new_project_with_runs
  serve
  mv proj away
  run -0 ask GET "/data.json?token=$token"
  status_is 503
  grep -q project body
  mv away proj
  run -0 ask GET "/data.json?token=$token"
  status_is 200
  kill -0 "$server"
}

@test "Ctrl-C ends it well, also while somebody is connected" {
  new_project
  serve
  exec 6<>"/dev/tcp/127.0.0.1/$(sed 's|.*:\([0-9]*\)/|\1|' <<<"$base")"
  kill -INT "$server"
  wait "$server"
  server=
  exec 6>&-
}

@test "a port that is taken is an error that says so" {
  new_project
  serve
  port=$(sed 's|.*:\([0-9]*\)/|\1|' <<<"$base")
  run -6 --separate-stderr timeout 60 "$xp" -C proj serve --port "$port"
  [[ $stderr == "xp: error: Port $port can't be had."* ]]
  [ -z "$output" ]
}

@test "what can't be served isn't" {
  run -6 --separate-stderr "$xp" -C nowhere serve
  [ -z "$output" ]
  new_project
  run -6 --separate-stderr "$xp" -C proj serve nosuch
  [ -z "$output" ]
  run -2 --separate-stderr "$xp" -C proj serve --port 0
  [ -z "$output" ]
}

@test "the browser gets the address from a file that is the user's alone" {
  new_project
  mkdir fake
  cat >fake/xdg-open <<'OPEN'
#!/bin/sh
stat -c %a "$(dirname "$1")" >"$OPENED.mode"
cp "$1" "$OPENED.part"
printf '%s\n' "$*" >"$OPENED.words"
mv "$OPENED.part" "$OPENED"
OPEN
  chmod +x fake/xdg-open
  export OPENED=$PWD/opened TMPDIR=$PWD PATH=$PWD/fake:$PATH
  serve --open
  for _ in $(seq 600); do [ -e opened ] && break || sleep 0.1; done
  grep -qF "$address" opened
  run ! grep -q "$token" opened.words
  [ "$(cat opened.mode)" = 700 ]
  kill -INT "$server"
  wait "$server"
  server=
  [ -z "$(find . -name 'xperiment-*')" ]
}
