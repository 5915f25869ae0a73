# A machine that qemu emulates, for what this kernel does not run: 32-bit programs of x86,
# Windows programs among them. Sourced by the scripts of such targets, which send their
# parts there when ZAVO_EMULATE is set. It needs no rights and no support by the
# processor; with that, /dev/kvm, it is fast.
#
# Its disk holds Debian's i386 packages, unpacked by scripts/debian_root.sh, and keeps what
# is written, Wine's settings for one; its kernel is Debian's for virtual machines, which
# has the drivers of that disk built in. The project's files come on a second disk, which
# is a tar archive. What a program prints comes through the serial line.
# shellcheck shell=bash

machine=$PWD/.cache/machine

need_machine() {
    local codename
    codename=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-bookworm}")
    need_packages qemu-system-x86 e2fsprogs
    debian_root "$machine/kernel" "$codename" amd64 linux-image-cloud-amd64 &&
        debian_root "$machine/root" "$codename" i386 wine32 wine bash coreutils findutils grep sed tar \
            busybox-static cmake tcl8.6 libtcl8.6 libstdc++6 || return 1
    [[ ! -f $machine/disk || $machine/root/.complete -nt $machine/disk ]] || return 0
    say "making the disk of an emulated machine"
    local root=$machine/root
    # What the packages do when they are installed.
    local zlib=$root/usr/i686-w64-mingw32/lib/zlib1.dll
    {
        head -c 64 "$zlib"
        printf 'Wine builtin DLL\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0'
        tail -c +97 "$zlib"
    } >"$root/usr/lib/i386-linux-gnu/wine/i386-windows/zlib1.dll"
    ln -sf bash "$root/bin/sh"
    # Wine waits five minutes for its settings, no more: without the classes, fonts and
    # servers that programs of a terminal do not need it takes less.
    sed -i -E '/^RegisterDlls=/d; /^ +(Classes|ContentIndex|Debugger|DirectX|Fonts|MCI|OLE|Printing|Tapi|ThemeManager),/d' \
        "$root/usr/share/wine/wine.inf"
    mkdir -p "$root"/{dev,proc,sys,tmp,root}
    cat >"$root/init" <<'END'
#!/bin/busybox sh
export PATH=/usr/bin:/bin:/usr/lib/wine HOME=/root
for each in proc:/proc sysfs:/sys devtmpfs:/dev tmpfs:/tmp; do
    /bin/busybox mount -t "${each%:*}" none "${each#*:}"
done
ln -s /proc/self/fd /dev/fd
mkdir /dev/shm
/bin/busybox mount -t tmpfs none /dev/shm
/bin/busybox ip link set lo up
tar -x -f /dev/nvme1n1 -C /tmp machine-command
# Through a pipe, or programs would take the line for a terminal; what Wine leaves
# running keeps it open.
bash -c 'exec > >(cat) 2>&1 </dev/null; sh /tmp/machine-command; echo "machine: status $?"; sleep 1'
sync
/bin/busybox poweroff -f
END
    chmod 755 "$root/init"
    rm -f "$machine/disk"
    mke2fs -q -t ext4 -d "$root" "$machine/disk.new" 4G && mv "$machine/disk.new" "$machine/disk"
}

# in_machine "FILE ..." COMMAND ...: runs the command in a copy of the project's FILEs at
# the same place, with its status.
in_machine() {
    local work files status
    read -r -a files <<<"$1"
    shift
    work=$(mktemp -d)
    # Of the place only .cache outlives a run.
    {
        printf 'mkdir -p %q && cd %q && find . -mindepth 1 -maxdepth 1 ! -name .cache -exec rm -rf {} + &&\n' "$PWD" "$PWD"
        printf 'tar -x -f /dev/nvme1n1 && rm machine-command && exec'
        printf ' %q' "$@"
        printf '\n'
    } >"$work/machine-command"
    tar -c -f "$work/files" --exclude=CMakeFiles -C "$work" machine-command -C "$PWD" "${files[@]}"
    # As an emulation it must do without two features. With smap it refuses the return to
    # 32-bit code by which Wine begins a thread; it takes a gather's fourth register of
    # indices for none at all (qemu 7.2).
    local by=(-accel "tcg,thread=multi" -cpu "max,smap=off,avx2=off")
    [[ ! -w /dev/kvm ]] || by=(-accel kvm -cpu host)
    say "starting an emulated machine"
    qemu-system-x86_64 "${by[@]}" -smp "$(nproc)" -m 2G \
        -kernel "$machine"/kernel/boot/vmlinuz-* -append "root=/dev/nvme0n1 rw init=/init console=ttyS0 quiet panic=-1" \
        -drive "if=none,id=root,format=raw,file=$machine/disk" -device nvme,drive=root,serial=root \
        -drive "if=none,id=files,format=raw,readonly=on,file=$work/files" -device nvme,drive=files,serial=files \
        -display none -monitor none -serial stdio -nic none -no-reboot </dev/null 2>"$work/errors" |
        sed -u 's|\r$||' | tee "$work/log" || tail -n 5 "$work/errors" >&2
    status=$(sed -n 's/^machine: status //p' "$work/log" | tail -n 1)
    rm -rf "$work"
    return "${status:-1}"
}
