#!/usr/bin/env bash
# Runs a program on a PC emulated by Bochs, under Debian's kernel, for instructions that this processor lacks.
#   emulated_pc.sh MODEL PROGRAM [ARGUMENT...]    prints PROGRAM's output and exits with its status
#   emulated_pc.sh --prepare                      only installs what is missing and fetches the kernel
# PROGRAM is for x86-64, linked statically, and has no other file. `bochs --help cpu` lists the models: corei7_icelake_u and
# corei7_skylake_x have AVX-512, the former with VBMI. The PC takes some 20 seconds to start, and is some 150 times slower
# than this machine.
set -euo pipefail
root=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$root/scripts/setup.sh"

[ $# -ge 2 ] || [ "$*" = --prepare ] || { (show_help) >&2; exit 2; }

need bochs has_file /usr/bin/bochs
need bochs-term has_file /usr/lib/x86_64-linux-gnu/bochs/plugins/libbx_term_gui.so
need bochsbios has_file /usr/share/bochs/BIOS-bochs-latest
need vgabios has_file /usr/share/vgabios/vgabios.bin
need isolinux has_file /usr/lib/ISOLINUX/isolinux.bin
need syslinux-common has_file /usr/lib/syslinux/modules/bios/ldlinux.c32
need xorriso has_program xorriso
need cpio has_program cpio
need busybox-static has_file /bin/busybox
install_missing

# The kernel is unpacked, not installed.
kernel=$root/build/emulated_pc/vmlinuz
caller=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
if [ ! -e "$kernel" ]; then
  package=$(apt-cache depends linux-image-cloud-amd64 | sed -n 's/^ *Depends: *//p')
  { apt-get download "$package" && dpkg -x "$package"_*.deb unpacked; } >download.log 2>&1 ||
    { tail -n 5 download.log >&2; stop "the kernel's package, '$package', cannot be downloaded"; }
  mkdir -p "${kernel%/*}"
  mv unpacked/boot/vmlinuz-* "$kernel"
fi

[ "$1" != --prepare ] || exit 0
model=$1 program=$(cd "$caller" && readlink -f "$2")
shift 2

mkdir -p disc files
cp /bin/busybox "$program" files/
cat >files/init <<END
#!/busybox sh
$(printf '%q ' "/${program##*/}" "$@")
echo "emulated_pc: status \$?"
/busybox poweroff -f
END
chmod +x files/init
(cd files && find . | cpio --quiet -o -H newc) >disc/files

# The emulated processors report XSAVE, protection keys and fast string operations inconsistently, and a kernel that uses
# these crashes or does without AVX. They also report a clock that is too fast.
wrong=pku,ospke,xsavec,xsaves,fsrm,aperfmperf
cp "$kernel" disc/vmlinuz
cp /usr/lib/ISOLINUX/isolinux.bin /usr/lib/syslinux/modules/bios/ldlinux.c32 disc/
cat >disc/isolinux.cfg <<END
default linux
label linux
  kernel /vmlinuz
  append initrd=/files console=ttyS0,115200 quiet loglevel=1 nokaslr mitigations=off vt.global_cursor_default=0 nopku clearcpuid=$wrong tsc_early_khz=50000 no_timer_check cryptomgr.notests reboot=triple panic=-1
END
xorriso -as mkisofs -quiet -o disc.iso -b isolinux.bin -c boot.cat -no-emul-boot -boot-load-size 4 -boot-info-table disc \
  >disc.log 2>&1 || { cat disc.log >&2; stop 'the disc cannot be made'; }

cat >bochsrc <<END
cpu: model=$model, ips=50000000, reset_on_triple_fault=0
memory: guest=256, host=256
romimage: file=/usr/share/bochs/BIOS-bochs-latest
vgaromimage: file=/usr/share/vgabios/vgabios.bin
ata0-master: type=cdrom, path=disc.iso, status=inserted
boot: cdrom
clock: sync=none
display_library: term
plugin_ctrl: speaker=0
com1: enabled=1, mode=file, dev=serial
log: bochs.log
panic: action=fatal
error: action=ignore
info: action=ignore
END
# Debian's Bochs starts in its debugger, which an interrupt ends, and needs a terminal.
printf '%s\n' continue quit >commands
TERM=xterm script -qec 'timeout --foreground --signal=INT --kill-after=20 1800 bochs -f bochsrc -rc commands' /dev/null \
  </dev/null >display 2>&1 || true

[ -e serial ] || { tail -n 20 display >&2; stop 'Bochs does not start'; }
sed -i 's/\r$//' serial
sed '/^emulated_pc: status /,$d' serial
status=$(sed -n 's/^emulated_pc: status //p' serial)
[ -n "$status" ] || { tail -n 5 bochs.log >&2; stop "'$program' did not finish"; }
exit "$status"
