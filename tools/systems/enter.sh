#!/usr/bin/env bash
# tools/systems/enter.sh ROOT TREE CACHE COMMAND...: runs COMMAND in the root file system ROOT, for
# tools/systems.sh, which gives it a mount namespace of its own. Changes go to a layer in memory; TREE
# and CACHE appear under their own names, and can only be read.
set -euo pipefail

root=$1 tree=$2 cache=$3
shift 3
layer=$(mktemp -d)
mount -t tmpfs layer "$layer"
mkdir "$layer"/{changes,work,root}
options=lowerdir=$root,upperdir=$layer/changes,workdir=$layer/work
# In a user namespace the marks of an overlay have to be those of a user.
grep -q ' 4294967295$' /proc/self/uid_map || options+=,userxattr
mount -t overlay overlay "$layer/root" -o "$options"
cd "$layer/root"
mount -t proc proc proc
mount --rbind /dev dev
mount -t tmpfs tmp tmp
cp /etc/resolv.conf etc/
for folder in "$tree" "$cache"; do
    mkdir -p ".$folder"
    mount --bind "$folder" ".$folder"
    mount -o remount,bind,ro ".$folder"
done
status=0
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/tmp TERM=dumb LANG=C.UTF-8 \
    chroot . "$@" </dev/null || status=$?
cd /
umount -l "$layer/root" "$layer" # frees the memory of the layer
rmdir "$layer"
exit "$status"
