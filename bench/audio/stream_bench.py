"""The streamer's CPU time per minute of audio and its end-to-end delay.

A fake master server sends PCM at the real-time rate, 50 ms per message, as the
jukebox server does; the streamer (started with `zerka --audio`) plays it into
a private PulseAudio daemon whose null sink's monitor is recorded with parec.
Every two seconds the audio carries a short burst of noise unlike any other;
the delay of a burst is the time from the server's send of its first byte to
the arrival of its first sample from the monitor (parec's own delay, set to
10 ms, included). CPU time is the streamer's user + system time over the run.

    /usr/bin/python3 bench/audio/stream_bench.py --build build [--seconds 60]
"""

import argparse
import os
import shutil
import statistics
import subprocess
import sys
import threading
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tests", "e2e"))

import conftest  # noqa: E402
import pulse  # noqa: E402
from fakeserver import AUDIO, FakeServer, Msg, reply  # noqa: E402

BLOCK = 8820             # 50 ms
BURST_EVERY = 2.0        # seconds between markers
BURST = 0.05             # seconds of noise per marker


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", default=os.path.join(HERE, "..", "..", "build"))
    ap.add_argument("--seconds", type=float, default=60.0)
    args = ap.parse_args()
    zerka = os.path.join(os.path.abspath(args.build), "zerka")

    # The audio: quiet tone with numbered noise bursts; remember where each burst starts.
    total = int(args.seconds * pulse.RATE) * pulse.FRAME
    tone = pulse.sine(220, 1.0, amplitude=2000)
    pcm = bytearray(tone * (int(args.seconds) + 1))[:total]
    bursts = []
    t = 1.0
    while t + BURST < args.seconds:
        at = int(t * pulse.RATE) * pulse.FRAME
        noise = pulse.noise(BURST, seed=int(t * 10))
        pcm[at:at + len(noise)] = noise
        bursts.append((at, noise))
        t += BURST_EVERY
    pcm = bytes(pcm)
    sent_at = {}

    fake = FakeServer()
    root = conftest.make_root()
    name = "B%04d" % (os.getpid() % 10000)
    conftest.write_cfg(root, fake.port, extra={"SERVER_NAME": name})
    done = threading.Event()

    def on_audio(srv, conn, m):
        conn.send(reply(m))

        def run():
            start = time.monotonic()
            for i, at in enumerate(range(0, len(pcm), BLOCK)):
                delay = start + i * BLOCK / pulse.SECOND - time.monotonic()
                if delay > 0:
                    time.sleep(delay)
                sent_at[at] = time.monotonic()
                conn.send(Msg(AUDIO, 0, 0, 0, pcm[at:at + BLOCK]))
            done.set()
        threading.Thread(target=run, daemon=True).start()
        return None

    fake.handlers[AUDIO] = on_audio
    pa = pulse.PulseServer()
    rec = pa.record()
    env = dict(os.environ, ZERKA=root, PULSE_SERVER=pa.server)
    out = subprocess.run([zerka, "--audio"], env=env, capture_output=True, timeout=30).stdout.decode()
    assert out == "Local audio started\n", out
    pid = 0
    for _ in range(200):
        found = subprocess.run(["/usr/bin/pgrep", "-x", "-f", "^%s Streamer.*" % name], capture_output=True).stdout.split()
        if found:
            pid = int(found[0])
            break
        time.sleep(0.05)
    assert pid, "no streamer"
    try:
        done.wait(args.seconds + 30)
        time.sleep(1.0)
        with open("/proc/%d/stat" % pid) as f:
            fields = f.read().rsplit(")", 1)[1].split()
        ticks = os.sysconf("SC_CLK_TCK")
        utime, stime = int(fields[11]) / ticks, int(fields[12]) / ticks
        data = rec.snapshot()
        delays = []
        for at, noise in bursts:
            found = pulse.find_frames(data, noise[400:4400])
            if found < 0:
                continue
            first = found - 400
            block_start = at - at % BLOCK
            delays.append(rec.arrival(first) - sent_at[block_start] - (at - block_start) / pulse.SECOND)
    finally:
        subprocess.run(["kill", "-9", str(pid)])
        rec.stop()
        pa.stop()
        fake.stop()
        shutil.rmtree(root, ignore_errors=True)

    cpu = utime + stime
    print("audio played:            %.1f s" % args.seconds)
    print("streamer CPU time:       %.3f s (user %.3f, system %.3f)" % (cpu, utime, stime))
    print("CPU time per minute:     %.3f s (%.2f%% of one core)" % (cpu * 60 / args.seconds, 100 * cpu / args.seconds))
    if delays:
        print("send-to-monitor delay:   median %.0f ms, min %.0f ms, max %.0f ms over %d markers" % (
            1000 * statistics.median(delays), 1000 * min(delays), 1000 * max(delays), len(delays)))
    print("markers found:           %d of %d" % (len(delays), len(bursts)))


if __name__ == "__main__":
    main()
