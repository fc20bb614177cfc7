# Functions of the lab: a real Active Directory domain, served by Samba inside network namespaces,
# for tests that hold our rows against other people's tools. Sourced by lab/samba-lab.sh; nothing
# here runs by itself.
#
# A lab has an id. Everything it makes carries that id, so that labs live side by side and `down`
# can take away all of it, whatever state it is in:
#   namespaces   $LAB_ID-sw (the switch), $LAB_ID-NAME for each machine, $LAB_ID-cli for clients
#   /etc/netns   one folder a machine: its resolv.conf and hosts
#   $LAB_STATE   /run/dirwatch-lab/$LAB_ID: where its files are and whom it belongs to
#   $LAB_ROOT    a folder of its own under ${TMPDIR:-/tmp}: databases, logs, keys
# Addresses live on a bridge inside the switch namespace, so two labs may use the same ones.

LAB_ID=${DIRWATCH_LAB_ID:-dwlab}
LAB_STATE=/run/dirwatch-lab/$LAB_ID
LAB_REALM=CORP.EXAMPLE
LAB_DOMAIN=corp.example
LAB_BASE=DC=corp,DC=example
LAB_PASSWORD=Passw0rd.1
LAB_SITE=Branch-Site
LAB_OTHER_DOMAIN=other.example  # a forest of its own, whose one controller is far1
LAB_PREFIX=10.53.1
LAB_NAMES=$LAB_PREFIX.1
declare -A LAB_ADDRESS=([dc1]=$LAB_PREFIX.11 [dc2]=$LAB_PREFIX.12 [far1]=$LAB_PREFIX.21
  [cli]=$LAB_PREFIX.100)
declare -A LAB_LINK=([dc1]=v-dc1 [dc2]=v-dc2 [far1]=v-far1 [cli]=v-cli)
declare -A LAB_MACHINE_DOMAIN=([dc1]=$LAB_DOMAIN [dc2]=$LAB_DOMAIN [far1]=$LAB_OTHER_DOMAIN
  [cli]=$LAB_DOMAIN)
# Machines of a domain ask its first controller for names.
declare -A LAB_NAME_SERVER=([$LAB_DOMAIN]=${LAB_ADDRESS[dc1]}
  [$LAB_OTHER_DOMAIN]=${LAB_ADDRESS[far1]})

say() { printf 'lab %s: %s\n' "$LAB_ID" "$*" >&2; }
die() { say "$*"; exit 1; }

# Exit status 77 means "cannot run here", which test runners count as skipped.
cannot_run_here() { say "cannot run here: $*"; exit 77; }

lab_check_requirements() {
  local program
  [[ $LAB_ID =~ ^[a-z][a-z0-9]{0,9}$ ]] || die "DIRWATCH_LAB_ID must be 1 to 10 of a-z0-9"
  [[ $(id -u) == 0 ]] || cannot_run_here "network namespaces need root"
  for program in ip unshare ss samba samba-tool ldbadd ldapsearch kinit dig dnsmasq; do
    command -v "$program" >/dev/null ||
      cannot_run_here "the program '$program' is missing (apt packages: tools/packages.txt)"
  done
  [[ -d /usr/share/samba/setup/ad-schema ]] ||
    cannot_run_here "Samba's provisioning files are missing (apt package samba-ad-provision)"
  ip netns add "$LAB_ID-probe" 2>/dev/null ||
    cannot_run_here "this machine allows no network namespaces"
  ip netns delete "$LAB_ID-probe"
}

lab_root() { cat "$LAB_STATE/root" 2>/dev/null; }

# The folder of the running lab in LAB_ROOT, or the end of the program.
lab_require() {
  LAB_ROOT=$(lab_root)
  [[ -n $LAB_ROOT && -d $LAB_ROOT ]] || die "is not up (lab/samba-lab.sh up)"
}

# nsrun MACHINE COMMAND...: runs a command on a machine of the lab, under the machine's host name.
nsrun() {
  local machine=$1
  shift
  ip netns exec "$LAB_ID-$machine" unshare -u sh -c 'hostname "$0"; exec "$@"' "$machine" "$@"
}

lab_make_switch() {
  ip netns add "$LAB_ID-sw"
  ip -n "$LAB_ID-sw" link set lo up
  ip -n "$LAB_ID-sw" link add br0 type bridge
  ip -n "$LAB_ID-sw" link set br0 up
  ip -n "$LAB_ID-sw" address add "$LAB_NAMES/24" dev br0
  lab_start_names
}

# Controllers hand on the names of other forests to this name server on the switch. It knows the
# forests and no one beyond, so that an unknown name ends here: two controllers that handed on to each
# other would pass it round for ever.
lab_start_names() {
  local domain rules=()
  for domain in "${!LAB_NAME_SERVER[@]}"; do
    rules+=("--server=/$domain/${LAB_NAME_SERVER[$domain]}")
  done
  ip netns exec "$LAB_ID-sw" dnsmasq --conf-file=/dev/null --no-resolv --no-hosts --cache-size=0 \
    --listen-address="$LAB_NAMES" --bind-interfaces --user=root --pid-file --log-facility=- \
    '--address=/#/' "${rules[@]}" >"$LAB_ROOT/names.log" 2>&1 ||
    die "the name server does not start: $(cat "$LAB_ROOT/names.log")"
}

# lab_make_machine NAME: a namespace with one interface on the switch.
lab_make_machine() {
  local name=$1 namespace=$LAB_ID-$1 address=${LAB_ADDRESS[$1]} link=${LAB_LINK[$1]}
  local domain=${LAB_MACHINE_DOMAIN[$1]}
  ip netns add "$namespace"
  ip -n "$namespace" link set lo up
  ip -n "$LAB_ID-sw" link add "$link" type veth peer name eth0 netns "$namespace"
  ip -n "$LAB_ID-sw" link set "$link" master br0 up
  ip -n "$namespace" address add "$address/24" dev eth0
  ip -n "$namespace" link set eth0 up
  mkdir -p "/etc/netns/$namespace"
  printf 'search %s\nnameserver %s\n' "$domain" "${LAB_NAME_SERVER[$domain]}" \
    >"/etc/netns/$namespace/resolv.conf"
  printf '127.0.0.1 localhost\n%s %s.%s %s\n' "$address" "$name" "$domain" "$name" \
    >"/etc/netns/$namespace/hosts"
}

# The stock intervals of replication are minutes: each controller gets intervals of seconds. Its log
# goes where the lab's other files are, not where the package's settings put it.
lab_configure_controller() {
  local folder=$LAB_ROOT/$1
  mkdir -p "$folder/run" "$folder/log"
  # The stock setting forwards to the machine's own name server, which here is this one: an unknown
  # name would go round for ever, as it would between two controllers.
  sed -i '/dns forwarder/d; /log file/d' "$folder/etc/smb.conf"
  sed -i "/^\[global\]/a\\
\\tpid directory = $folder/run\\
\\tncalrpc dir = $folder/run/ncalrpc\\
\\tntp signd socket directory = $folder/run/ntp\\
\\tlog file = $folder/log/%m\\
\\tdns forwarder = $LAB_NAMES\\
\\tldap server require strong auth = no\\
\\tkccsrv:periodic_startup_interval = 1\\
\\tkccsrv:periodic_interval = 5\\
\\tdreplsrv:periodic_startup_interval = 1\\
\\tdreplsrv:periodic_interval = 5\\
\\tdreplsrv:notify_interval = 1" "$folder/etc/smb.conf"
}

# lab_provision NAME: the first controller of its domain.
lab_provision() {
  local name=$1 domain=${LAB_MACHINE_DOMAIN[$1]} address=${LAB_ADDRESS[$1]} log=$LAB_ROOT/provision.log
  local flat=${domain%%.*}
  say "provisioning the domain $domain"
  nsrun "$name" samba-tool domain provision --realm="${domain^^}" --domain="${flat^^}" \
    --server-role=dc --adminpass=$LAB_PASSWORD --host-name="$name" --host-ip="$address" \
    --dns-backend=SAMBA_INTERNAL --targetdir="$LAB_ROOT/$name" \
    --option="interfaces=$address/24 lo" --option="bind interfaces only=yes" \
    >"$log" 2>&1 || die "provisioning failed: $(tail -5 "$log")"
  lab_configure_controller "$name"
}

# Changes dc1's directory as the administrator. The change comes from stdin.
lab_modify() {
  nsrun cli ldapmodify -x -H "ldap://dc1.$LAB_DOMAIN" -D "Administrator@$LAB_DOMAIN" \
    -y "$LAB_ROOT/password" >"$LAB_ROOT/ldapmodify.log" 2>&1 ||
    die "the change was refused: $(cat "$LAB_ROOT/ldapmodify.log")"
}

# dc2 in a site of its own. Without the site on the link the topology generator finds no path and
# makes no connection; without --server a join pays no heed to --site.
lab_join_second() {
  local tool=(nsrun dc1 samba-tool) settings=(-s "$LAB_ROOT/dc1/etc/smb.conf") log=$LAB_ROOT/join.log
  {
    "${tool[@]}" sites create $LAB_SITE "${settings[@]}" &&
      "${tool[@]}" sites subnet create "${LAB_ADDRESS[dc2]}/32" $LAB_SITE "${settings[@]}"
  } >"$log" 2>&1 || die "making the site $LAB_SITE failed: $(tail -5 "$log")"
  lab_modify <<END
dn: CN=DEFAULTIPSITELINK,CN=IP,CN=Inter-Site Transports,CN=Sites,CN=Configuration,$LAB_BASE
changetype: modify
add: siteList
siteList: CN=$LAB_SITE,CN=Sites,CN=Configuration,$LAB_BASE
END
  mkdir -p "$LAB_ROOT/dc2"
  nsrun dc2 samba-tool domain join $LAB_DOMAIN DC --server=dc1.$LAB_DOMAIN --site=$LAB_SITE \
    -U "Administrator%$LAB_PASSWORD" --realm=$LAB_REALM --dns-backend=SAMBA_INTERNAL \
    --targetdir="$LAB_ROOT/dc2" --option="interfaces=${LAB_ADDRESS[dc2]}/24 lo" \
    --option="bind interfaces only=yes" --option="netbios name=DC2" \
    >"$log" 2>&1 || die "joining dc2 failed: $(tail -5 "$log")"
  lab_configure_controller dc2
}

# Whether the controller has once replicated every naming context from the other one. A link that
# was never tried reads as a success at the time 0, so only a dated success counts.
lab_replicates() {
  local report
  report=$(nsrun "$1" timeout 20 samba-tool drs showrepl --json -s "$LAB_ROOT/$1/etc/smb.conf" 2>/dev/null) &&
    python3 -c '
import json, sys
inbound = json.load(sys.stdin)["repsFrom"]
dated = {link["NC dn"] for link in inbound if link["last success"] != "NTTIME(0)"}
sys.exit(len(dated) < 5)' <<<"$report"
}

lab_add_controller() {
  local began=$SECONDS deadline=$((SECONDS + 300)) name
  [[ ! -d $LAB_ROOT/dc2 ]] || return 0
  say "joining dc2 in the site $LAB_SITE"
  lab_join_second
  lab_start_controller dc2
  say "waiting until both controllers have replicated"
  for name in dc1 dc2; do
    until lab_replicates "$name"; do
      ((SECONDS < deadline)) || die "$name does not replicate: $(tail -5 "$LAB_ROOT/$name/log/console")"
      sleep 0.5
    done
  done
  say "two controllers after $((SECONDS - began)) s"
}

# A second forest, which trusts nobody yet and whose names the machines of the first one can resolve.
lab_add_forest() {
  local began=$SECONDS
  [[ ! -d $LAB_ROOT/far1 ]] || return 0
  lab_provision far1
  lab_start_controller far1
  say "two forests after $((SECONDS - began)) s"
}

# Whether the controller answers: its directory is synchronised and DNS knows its domain.
lab_serves() {
  local address=${LAB_ADDRESS[$1]}
  nsrun cli timeout 5 ldapsearch -x -LLL -H "ldap://$address" -b '' -s base \
    -o nettimeout=2 isSynchronized 2>/dev/null | grep -q 'isSynchronized: TRUE' &&
    [[ -n $(nsrun cli timeout 5 dig +short +time=1 +tries=1 "@$address" \
      "_ldap._tcp.dc._msdcs.${LAB_MACHINE_DOMAIN[$1]}" SRV 2>/dev/null) ]]
}

lab_clock_library() {
  local library
  for library in /usr/lib/*/faketime/libfaketime.so.1; do
    [[ -e $library ]] && echo "$library" && return
  done
  die "a clock of its own needs the apt package faketime"
}

# lab_start_controller NAME [SECONDS]: with seconds its clock is that much ahead ("+120") or behind
# ("-120") of the machine's. A controller takes no part in its domain with more than 300.
lab_start_controller() {
  local name=$1 ahead=${2:-} folder=$LAB_ROOT/$1 deadline=$((SECONDS + 180)) clock=(env)
  mkdir -p "$folder/run" && rm -f "$folder/run/"*.pid
  # Left to themselves the directory's modules take the time past the library put in before them.
  [[ -z $ahead ]] || clock+=(LDB_MODULES_DISABLE_DEEPBIND=1 FAKETIME_DONT_FAKE_MONOTONIC=1
    "FAKETIME=${ahead}s" "LD_PRELOAD=$(lab_clock_library)")
  # /run/samba is the controller's own: two of them would meet there, and its file server asks
  # winbind under that path only, whatever the settings say; without an answer no share opens.
  mkdir -p /run/samba
  nsrun "$name" unshare -m sh -c 'mount --bind "$1" /run/samba; shift; exec "$@"' sh "$folder/run" \
    setsid "${clock[@]}" samba -i --no-process-group -M prefork -s "$folder/etc/smb.conf" \
    </dev/null >"$folder/log/console" 2>&1 &
  disown
  until lab_serves "$name"; do
    ((SECONDS < deadline)) || die "$name does not serve: $(tail -5 "$folder/log/console")"
    sleep 0.1
  done
}

# Ends every process inside a namespace; it comes back when none is left.
lab_end_processes() {
  local namespace=$1 signal=TERM pids deadline=$((SECONDS + 10))
  while pids=$(ip netns pids "$namespace" 2>/dev/null) && [[ -n $pids ]]; do
    # shellcheck disable=SC2086  # one word a process
    kill -$signal $pids 2>/dev/null
    # A process that was stopped only ends once it may run again.
    # shellcheck disable=SC2086
    kill -CONT $pids 2>/dev/null
    sleep 0.05
    ((SECONDS < deadline)) || die "processes of $namespace do not end: $pids"
    signal=KILL
  done
}

lab_stop_controller() {
  local pid deadline=$((SECONDS + 5))
  pid=$(cat "$LAB_ROOT/$1/run/samba.pid" 2>/dev/null) && kill -TERM "$pid" 2>/dev/null
  while [[ -n $pid ]] && kill -0 "$pid" 2>/dev/null && ((SECONDS < deadline)); do sleep 0.02; done
  lab_end_processes "$LAB_ID-$1"
}

# The processes that hold the LDAP ports of a controller.
lab_ldap_pids() {
  ip netns exec "$LAB_ID-$1" ss -Hltnp 'sport = :389 or sport = :636' |
    grep -o 'pid=[0-9]*' | cut -d= -f2 | sort -u
}

# A frozen server takes connections and never answers, which no tool of the network can imitate.
lab_signal_ldap() {
  local signal=$1 pids
  pids=$(lab_ldap_pids "$2")
  [[ -n $pids ]] || die "$2 has no LDAP processes"
  # shellcheck disable=SC2086
  kill -"$signal" $pids
}

# Adds N containers below the domain's head, straight into the controller's database: much faster
# than over the network, and a running server sees them at once. Without batch_mode every record opens
# a transaction of its own inside the big one, and 20,000 take minutes.
lab_add_containers() {
  local count=$1 folder=$LAB_ROOT/dc1
  awk -v count="$count" -v base="$LAB_BASE" 'BEGIN {
    for (i = 1; i <= count; i++)
      printf "dn: CN=Container %05d,%s\nobjectClass: container\ncn: Container %05d\n\n", i, base, i
  }' >"$LAB_ROOT/containers.ldif"
  nsrun dc1 ldbadd -o batch_mode:1 -H "$folder/private/sam.ldb" --configfile="$folder/etc/smb.conf" \
    "$LAB_ROOT/containers.ldif" >"$LAB_ROOT/ldbadd.log" 2>&1 ||
    die "adding containers failed: $(tail -3 "$LAB_ROOT/ldbadd.log")"
  say "$(tail -1 "$LAB_ROOT/ldbadd.log")"
}

# What a client needs for Kerberos, and a ticket of the administrator.
lab_make_client() {
  cat >"$LAB_ROOT/krb5.conf" <<END
[libdefaults]
  default_realm = $LAB_REALM
  dns_lookup_kdc = true
  rdns = false
END
  printf '%s' "$LAB_PASSWORD" >"$LAB_ROOT/password"
  chmod 600 "$LAB_ROOT/password"
  KRB5_CONFIG=$LAB_ROOT/krb5.conf KRB5CCNAME=FILE:$LAB_ROOT/ticket nsrun cli \
    kinit "Administrator@$LAB_REALM" <"$LAB_ROOT/password" >"$LAB_ROOT/kinit.log" 2>&1 ||
    die "kinit failed: $(cat "$LAB_ROOT/kinit.log")"
}

# Takes the lab away when the process that owns it ends, however it ends.
lab_watch_owner() {
  local owner=$1
  setsid bash -c 'tail --pid="$1" -f /dev/null; exec "$2" down' watch "$owner" "$LAB_PROGRAM" \
    </dev/null >/dev/null 2>&1 &
  echo $! >"$LAB_STATE/watcher"
  disown
}

lab_down() {
  local namespace root watcher
  root=$(lab_root)
  for namespace in $(ip netns list 2>/dev/null | awk '{print $1}' | grep "^$LAB_ID-"); do
    lab_end_processes "$namespace"
    ip netns delete "$namespace"
    rm -rf "/etc/netns/$namespace"
  done
  rm -rf "/etc/netns/$LAB_ID-"*
  [[ -n $root ]] && rm -rf "$root"
  watcher=$(cat "$LAB_STATE/watcher" 2>/dev/null)
  rm -rf "$LAB_STATE"
  # Last, because the watcher itself may be the one that runs this.
  [[ -n $watcher ]] && kill -- "-$watcher" 2>/dev/null
  return 0
}

lab_up() {
  local owner=$1 began=$SECONDS name
  [[ -z $(lab_root) ]] || die "is up already (lab/samba-lab.sh down takes it away)"
  lab_down
  mkdir -p "$LAB_STATE"
  LAB_ROOT=$(mktemp -d "${TMPDIR:-/tmp}/dirwatch-lab-$LAB_ID.XXXXXX")
  chmod 755 "$LAB_ROOT"
  echo "$LAB_ROOT" >"$LAB_STATE/root"
  [[ -n $owner ]] && lab_watch_owner "$owner"
  say "making namespaces"
  lab_make_switch
  # Places are made here although some may stay empty: a namespace made by a client of the lab,
  # inside that client's own view of the mounts, could not be taken away from outside.
  for name in "${!LAB_ADDRESS[@]}"; do lab_make_machine "$name"; done
  lab_provision dc1
  say "starting dc1"
  lab_start_controller dc1
  lab_make_client
  say "serving after $((SECONDS - began)) s; files in $LAB_ROOT"
}

# What a client of the lab needs in its environment, as assignments for a shell or a test.
lab_environment() {
  cat <<END
LAB_ROOT=$LAB_ROOT
LAB_BASE=$LAB_BASE
LAB_CLIENT_NAMESPACE=$LAB_ID-cli
LAB_SERVER=dc1.$LAB_DOMAIN
LAB_SECOND_SERVER=dc2.$LAB_DOMAIN
LAB_SITE=$LAB_SITE
LAB_OTHER_SERVER=far1.$LAB_OTHER_DOMAIN
LAB_LDAPI=$LAB_ROOT/dc1/private/ldap_priv/ldapi
LAB_CA_FILE=$LAB_ROOT/dc1/private/tls/ca.pem
LAB_BIND_DN=Administrator@$LAB_DOMAIN
LAB_PASSWORD_FILE=$LAB_ROOT/password
KRB5_CONFIG=$LAB_ROOT/krb5.conf
KRB5CCNAME=FILE:$LAB_ROOT/ticket
END
}
