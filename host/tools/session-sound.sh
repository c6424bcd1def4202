# Part of host-session: the session's sound. Reads $session. To be sourced while XDG_RUNTIME_DIR is
# still the user's.
#
# A session in reach of a sound server that answers uses that one. Any other starts its own: a sink
# "watch" that nobody hears but through its monitor, and a silent microphone.

# shellcheck disable=SC2154 # $session is host-session's
sound='' # process id of the session's own server
users=${XDG_RUNTIME_DIR:-/nonexistent}/pulse/native
# A server that has ended may have left its socket.
if [ -z "${PULSE_SERVER:-}" ] && [ -S "$users" ] \
    && PULSE_SERVER=unix:$users timeout 2 pactl info >/dev/null 2>&1; then
    export PULSE_SERVER=unix:$users
fi

# start_sound OUTPUT: returns when there is a server that listens. OUTPUT takes what it prints.
start_sound()
{
    [ -z "${PULSE_SERVER:-}" ] || return 0
    export PULSE_SERVER=unix:$session/sound/native
    if ! command -v pulseaudio >/dev/null; then
        echo "host-session: pulseaudio is not installed: tones keep their time, but nobody hears them" >&2
        return
    fi
    mkdir -m 0700 "$session/sound"
    PULSE_RUNTIME_PATH=$session/sound PULSE_STATE_PATH=$session/sound \
        setsid setpriv --pdeathsig TERM pulseaudio -n --daemonize=no --exit-idle-time=-1 \
        --use-pid-file=no --high-priority=no --realtime=no --log-target=stderr --log-level=error \
        -L "module-stream-restore restore_device=no restore_muted=no" \
        -L "module-null-sink sink_name=watch norewinds=yes" \
        -L "module-null-source source_name=microphone" \
        -L "module-native-protocol-unix socket=$session/sound/native auth-anonymous=1" \
        </dev/null >"$1" 2>&1 &
    sound=$!
    while [ ! -S "$session/sound/native" ] && kill -0 "$sound" 2>/dev/null; do
        sleep 0.01
    done
}
