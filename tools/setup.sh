#!/usr/bin/env bash
# Installs what is missing for a purpose: build, check, tidy, coverage, kernel,
# mutants. As root or by sudo without a password; otherwise it prints the one command that would.
set -euo pipefail

packages=(g++ cmake make ninja-build pkg-config libusb-1.0-0-dev libcli11-dev nlohmann-json3-dev)
check=(git binutils python3 clang-14 libclang-rt-14-dev clang-format libgtest-dev libgmock-dev libbenchmark-dev liblcms2-dev
    umockdev libumockdev-dev)
case "${1:-build}" in
    build) ;;
    check) packages+=("${check[@]}") ;;
    tidy) packages+=("${check[@]}" clang-tidy) ;;
    coverage) packages+=("${check[@]}" gcovr) ;;
    mutants) packages+=("${check[@]}") ;;
    kernel) packages+=("${check[@]}" qemu-system-x86 busybox-static cpio xz-utils) ;;
    *) echo "setup.sh: unknown purpose $1" >&2; exit 2 ;;
esac

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

install="apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
    run=(bash -c "$install")
elif command -v sudo >/dev/null && sudo -n true 2>/dev/null; then
    run=(sudo -n bash -c "$install")
else
    root=$(command -v sudo >/dev/null && echo "sudo bash" || echo su)
    printf 'These packages are missing. Install them with\n\n    %s -c "%s"\n\nand try again.\n' "$root" "$install" >&2
    exit 1
fi
mkdir -p build/logs
echo "installing ${missing[*]}"
if ! "${run[@]}" >build/logs/setup.log 2>&1; then
    tail -n 20 build/logs/setup.log >&2
    echo "the installation failed; the whole log is build/logs/setup.log" >&2
    exit 1
fi
