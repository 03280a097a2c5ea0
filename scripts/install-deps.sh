#!/usr/bin/env bash
# Installs every Debian package the project needs to build, test and
# benchmark.  Does nothing when they are all present.  Needs root (or sudo).
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config binutils git
  ccache                               # builds: what another build folder compiled is not compiled again
  libsqlite3-dev sqlite3
  libsodium-dev
  libfmt-dev
  libcli11-dev
  libuchardet-dev                      # --charset auto: detecting a file's character set
  unixodbc-dev odbcinst                # database tables: any ODBC data source, the driver list
  mdbtools-dev                         # database tables: Access .mdb/.accdb (libmdb)
  libzip-dev libpugixml-dev            # database tables: Excel .xlsx
  libpff-dev libbfio-dev               # Outlook personal folders (.pst, .ost); libpff.h includes libbfio.h
  pff-tools                            # tests: pffexport, an independent reader of .pst files
  libfontconfig-dev                    # link documents: the machine's typefaces in the rich-text header
  libcurl4-openssl-dev                 # IMAP servers
  dovecot-imapd openssl                # tests, benchmarks: a real IMAP server, its certificate
  libsqliteodbc odbc-postgresql postgresql  # tests: real ODBC drivers and a real server
  python3-dbfread python3-xlrd python3-openpyxl mdbtools  # tests, benchmarks: independent readers
  libgtest-dev libgmock-dev
  libbenchmark-dev
  python3
  python3-pytest python3-pip python3-setuptools python3-wheel python3-venv  # the Python package and its tests
  clang-14 libclang-rt-14-dev llvm-14   # the fuzz targets: libFuzzer, sanitizer runtimes, symbolizer
  libpoppler-cpp-dev poppler-utils     # the PDF module; pdftotext for its tests and benchmark
  libwpd-dev librevenge-dev libwpd-tools  # the WordPerfect module; wpd2text for its tests
  enscript ghostscript                 # benchmarks: the PDF generator of the bench data
  antiword catdoc                      # tests, benchmarks: independent readers of Word .doc files
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
