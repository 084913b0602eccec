# Sourced by the desktop harnesses. subir_microfone DIR RUNTIME: PulseAudio serving RUNTIME/pulse/native
# with a virtual microphone "vmic" (what is played into the sink "vsink" is captured from it) and a
# second one, "vmic2", that hears only its own sink "vsink2", started
# with the caller's `fundo` and awaited with its `esperar`, whose PULSE_SERVER already names that socket.
subir_microfone() {
  local d=$1 x=$2
  cat >"$d/teste.pa" <<PA
load-module module-native-protocol-unix auth-anonymous=1 socket=$x/pulse/native
load-module module-null-sink sink_name=vsink rate=48000 channels=2
load-module module-remap-source master=vsink.monitor source_name=vmic channels=1 channel_map=mono source_properties=device.description=VirtualMic
load-module module-null-sink sink_name=vsink2 rate=48000 channels=2
load-module module-remap-source master=vsink2.monitor source_name=vmic2 channels=1 channel_map=mono source_properties=device.description=SegundoMic
set-default-sink vsink
set-default-source vmic
PA
  fundo pulseaudio -n -F "$d/teste.pa" --daemonize=no --exit-idle-time=-1 --system=false --disallow-exit
  esperar "o PulseAudio" pactl info || return 1
  # An idle null sink starts capture late; a silent stream keeps it running.
  fundo pacat --playback -d vsink --raw --format=s16le --rate=48000 --channels=2 --latency-msec=20 /dev/zero
}
