#!/bin/bash
# Makes and publishes a suite that follows docs/distribution.md and shares nothing with the sample.
#   other_suite.sh OUTDIR INSTALLER TOOLSDIR
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/quillon-3
deep=$tree/resources/$(seq -s / 1000 1030)
mkdir -p "$tree"/{bin,nothing} "$deep"
cat >"$tree/bin/Zarn.install" <<'SCRIPT'
#!/bin/sh
PATH=/usr/sbin:/usr/bin:/sbin:/bin
dir=/usr/sbin; [ -w $dir ] || dir=$HOME
case $1 in
-r) [ -f "$2/bin/quillon" ] && rm -f "$dir/Zarn-Lustrel" && rm -rf -- "$2" ;;
*) [ "$2 $#" = "LST 3" ] && ln -s "$1/Zarn_system/bin/quillon" "$dir/$3" ;;
esac
SCRIPT
printf '#!/bin/sh\n' | tee "$tree"/bin/{quillon,Zarn.installDesktop,Zarn.installTranslators} >/dev/null
chmod 755 "$tree"/bin/*
echo deep >"$deep/- it's a \"file\" & \$more; *.Größe"
ln -s ../nothing "$tree/resources/a link"
for part in textures models projects pictures render src; do
    mkdir -p "$work/$part/a part"
    echo "quillon's $part" >"$work/$part/a part/$part"
done
"$(dirname "$0")/../../publish/make-distribution" --output "$1" --installer "$2" --tools "$3" \
    "$tree" "$work"/{textures,models,projects,pictures,render,src}
