#!/usr/bin/env bash
# Runs the tests of the real USB path on a real kernel: Debian's, downloaded and unpacked, in an emulated machine, with
# the virtual instrument behind the kernel's own virtual host controller. Nothing is installed and no right is needed.
# PRESET: the build (default release). ORVEX_KERNEL_LIMIT: seconds until the machine is stopped (default 180).
set -euo pipefail
cd "$(dirname "$0")/.."

work=build/kernel
mkdir -p "$work"

preset=${PRESET:-release}
cmake --preset "$preset" >"$work/build.log"
cmake --build "build/$preset" --target wire_kernel >>"$work/build.log" || { tail -n 40 "$work/build.log" >&2; exit 1; }
program=build/$preset/tests/wire/real/wire_kernel

# The package that the metapackage stands for now; kept from run to run.
package=$(apt-cache depends linux-image-amd64 | sed -n 's/^ *Depends: \(linux-image-[0-9].*\)/\1/p' | head -n 1)
[ -n "$package" ] || { echo "check-kernel: apt knows no kernel; run apt-get update" >&2; exit 1; }
unpacked=$work/$package
if [ ! -f "$unpacked/vmlinux" ]; then
    rm -rf "$work"/linux-image-* "$work/download"
    mkdir -p "$unpacked" "$work/download"
    (cd "$work/download" && apt-get download -q "$package" >../download.log 2>&1) \
        || { cat "$work/download.log" >&2; exit 1; }
    dpkg-deb -x "$work/download/$package"_*.deb "$unpacked"
    rm -rf "$work/download"
    # Uncompressed it boots much faster: the emulated machine is slow at unpacking.
    image=$(echo "$unpacked"/boot/vmlinuz-*)
    start=$(LC_ALL=C grep -m 1 -aobP '\xfd7zXZ\x00' "$image" | head -n 1 | cut -d: -f1)
    [ -n "$start" ] || { echo "check-kernel: $image is not packed with xz" >&2; exit 1; }
    xz -dc --single-stream < <(tail -c +$((start + 1)) "$image" 2>/dev/null) >"$unpacked/vmlinux.part"
    readelf -h "$unpacked/vmlinux.part" >/dev/null
    mv "$unpacked/vmlinux.part" "$unpacked/vmlinux"
fi

root=$work/root
rm -rf "$root"
mkdir -p "$root"/{bin,dev,proc,sys,tmp,modules}
cp "$(command -v busybox)" "$root/bin/busybox"
cp "$program" "$root/wire_kernel"
strip --strip-debug "$root/wire_kernel"
# Each library at the place where the loader of the guest looks for it.
ldd "$program" | grep -o '/[^ )]*' | sort -u | while read -r library; do
    mkdir -p "$root$(dirname "$library")"
    cp -L "$library" "$root$library"
done
modules="usb-common usbcore usbip-core vhci-hcd"
for module in $modules; do
    find "$unpacked/lib/modules" -name "$module.ko" -exec cp {} "$root/modules/" \;
    [ -f "$root/modules/$module.ko" ] || { echo "check-kernel: the package has no module $module" >&2; exit 1; }
done
cat >"$root/init" <<EOF
#!/bin/busybox sh
/bin/busybox mount -t proc none /proc
/bin/busybox mount -t sysfs none /sys
/bin/busybox mount -t devtmpfs none /dev
/bin/busybox mkdir -m 1777 /dev/shm
/bin/busybox mount -t tmpfs -o mode=1777 none /dev/shm
for module in $modules; do
    /bin/busybox insmod /modules/\$module.ko || echo "insmod \$module failed"
done
/wire_kernel --gtest_color=no
echo "orvex-kernel-result \$?"
/bin/busybox poweroff -f
EOF
chmod +x "$root/init"
(cd "$root" && find . | cpio --quiet -o -H newc) | gzip -1 >"$work/initramfs.gz"

log=$work/console.log
begin=$SECONDS
timeout --kill-after=5 "${ORVEX_KERNEL_LIMIT:-180}" qemu-system-x86_64 -accel tcg -cpu max -m 512 -smp 1 \
    -display none -monitor none -serial stdio -no-reboot -nic none \
    -kernel "$unpacked/vmlinux" -initrd "$work/initramfs.gz" \
    -append "console=ttyS0 quiet panic=-1 mitigations=off" </dev/null >"$log" 2>&1 || true
# The machine's own exit code says nothing.
if tr -d '\r' <"$log" | grep -qx 'orvex-kernel-result 0' && grep -q '\[  PASSED  \] [1-9]' "$log"; then
    grep -F '[  PASSED  ]' "$log" | tr -d '\r'
    echo "kernel ${package#linux-image-}: ok, $((SECONDS - begin)) s"
else
    tail -n 80 "$log" >&2
    echo "kernel ${package#linux-image-}: FAILED after $((SECONDS - begin)) s; all that it said is in $log" >&2
    exit 1
fi
