# bare_root.sh: a bare Debian root as a stranger's fresh machine: only make, git and ca-certificates, with this machine's
# package sources and network settings copied in.

suite=bookworm

# Makes the root and clones the commit of a tree into it, at /tonekit. Says why, if that can't be.
make_bare_root() {
    local root=$1 tree=$2
    if [ ! -e "$root/etc/debian_version" ]; then
        command -v debootstrap >/dev/null || apt_install debootstrap || { echo "no debootstrap"; return 1; }
        local mirror proxy=""
        mirror=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' | awk -v suite=$suite '$2 == suite { print $1; exit }')
        eval "$(apt-config shell proxy Acquire::http::Proxy)"
        [ -z "$proxy" ] || export http_proxy=$proxy
        # An interrupted debootstrap leaves nothing under the name of a root.
        rm -rf --one-file-system "$root.making"
        debootstrap --variant=minbase --include=make,git,ca-certificates $suite "$root.making" \
            "${mirror:-http://deb.debian.org/debian}" >&2 && mv -T "$root.making" "$root" ||
            { echo "debootstrap failed"; return 1; }
    fi
    copy_network_settings "$root" >&2
    mount -t proc proc "$root/proc" >&2 && mount_devices "$root/dev" >&2 || { echo "no mounts"; return 1; }
    rm -rf "$root/tonekit"
    git clone --quiet --no-hardlinks "$tree" "$root/tonekit" >&2 &&
        git -C "$root/tonekit" checkout --quiet --detach "$(git -C "$tree" rev-parse HEAD)" >&2 || { echo "no clone"; return 1; }
}

# Devices of the root's own, as every fresh system has them; terminals are open to ordinary users whatever they are outside.
mount_devices() {
    local dev=$1 device
    mount -t tmpfs -o mode=755 tmpfs "$dev" && mkdir "$dev/pts" "$dev/shm" || return
    for device in null zero full random urandom tty; do
        : >"$dev/$device" && mount --bind "/dev/$device" "$dev/$device" || return
    done
    mount -t devpts -o newinstance,ptmxmode=666,mode=620,gid=5 devpts "$dev/pts" && mount -t tmpfs -o mode=1777 tmpfs "$dev/shm" || return
    ln -s pts/ptmx "$dev/ptmx"
    ln -s /proc/self/fd "$dev/fd"
    ln -s fd/0 "$dev/stdin"
    ln -s fd/1 "$dev/stdout"
    ln -s fd/2 "$dev/stderr"
}

apt_install() {
    DEBIAN_FRONTEND=noninteractive apt-get update -qq >&2 &&
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@" >&2
}

# Copies package sources with their keys, certificates, name servers, and the settings of cargo, pip and npm.
copy_network_settings() {
    local root=$1 home=${HOME:-/root} file
    rm -rf "$root"/etc/apt/sources.list "$root"/etc/apt/sources.list.d
    for file in /etc/apt/{sources.list,sources.list.d,apt.conf,apt.conf.d,auth.conf,auth.conf.d,keyrings,trusted.gpg} \
        /etc/apt/trusted.gpg.d /usr/share/keyrings /etc/ssl/certs /usr/local/share/ca-certificates /etc/resolv.conf \
        /etc/hosts /etc/pip.conf /etc/npmrc "$home"/.cargo/config "$home"/.cargo/config.toml "$home"/.config/pip \
        "$home"/.pip "$home"/.npmrc; do
        [ -e "$file" ] || continue
        local place=$root$file
        [ "$file" = "${file#"$home"/}" ] || place=$root/root/${file#"$home"/}
        mkdir -p "${place%/*}"
        cp -aLT "$file" "$place"
    done
}

# The variables by which programs find a proxy, certificates and package registries.
network_variables() {
    env | grep -iE '^[a-z0-9_]*(proxy|cert|ca_bundle|cainfo|ca_info|cert_file|cert_dir)[a-z0-9_]*=|^(pip|npm_config|cargo)_' |
        grep -vE '^(PIP_FIND_LINKS|CARGO_HOME|CARGO_TARGET_DIR)=' || true
}

# Runs a program of the clone with nothing of this machine's environment but its network settings.
run_in_root() {
    local root=$1 program=$2 variables
    mapfile -t variables < <(network_variables)
    chroot "$root" /usr/bin/env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root CI=true TONEKIT_GATE_BARE=yes \
        "${variables[@]}" /bin/bash -c "cd /tonekit && exec $program"
}
