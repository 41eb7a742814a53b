SUMMARY = "Settings library of a server's management controller"
DESCRIPTION = "Models configurations of settings, runs transactions of setting commands through the \
plug-ins that own the settings, and gives other processes a C API to the server's BIOS attributes."
SECTION = "libs"
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3b83ef96387f14655fc854ddc3c6bd57"

# The distribution sets the location of the repository.
DP_COMMON_REPOSITORY ?= "git:///srv/git/dp-common.git;protocol=file"
SRC_URI = "${DP_COMMON_REPOSITORY};branch=main"
SRCREV ?= "${AUTOREV}"
S = "${WORKDIR}/git"

inherit cmake pkgconfig systemd

EXTRA_OECMAKE = "-DDP_BUILD_RELOCATABLE=OFF -DDP_RELATIVE_RUN_PATHS=OFF"

# A board with its own platform library sets both in a .bbappend; see README.md.
DP_PLATFORM_LIBRARY ?= ""
DP_PLATFORM_RECIPE ?= ""
EXTRA_OECMAKE += "${@'-DDP_PLATFORM_LIBRARY=' + d.getVar('DP_PLATFORM_LIBRARY') if d.getVar('DP_PLATFORM_LIBRARY') else ''}"
DEPENDS += "${DP_PLATFORM_RECIPE}"

# The tools, and the service for a workstation, without which they only read. A board with its own
# platform has its own host.
PACKAGECONFIG ??= "${@'' if d.getVar('DP_PLATFORM_LIBRARY') else 'host tools'}"
PACKAGECONFIG[host] = "-DDP_BUILD_HOST=ON,-DDP_BUILD_HOST=OFF,cli11 libpcre2 nlohmann-json"
PACKAGECONFIG[tools] = "-DDP_BUILD_TOOLS=ON,-DDP_BUILD_TOOLS=OFF,cli11 libpcre2 nlohmann-json"

do_install:append() {
    if ${@bb.utils.contains('PACKAGECONFIG', 'host', 'true', 'false', d)}; then
        install -D -m 0644 ${S}/packaging/systemd/dp_settingsd.service \
            ${D}${systemd_system_unitdir}/dp_settingsd.service
        install -D -m 0644 ${S}/packaging/debian/dp-common-tools.tmpfiles \
            ${D}${nonarch_libdir}/tmpfiles.d/dp-common-tools.conf
    fi
}

PACKAGES =+ "${PN}-tools"
FILES:${PN}-tools = "${bindir} ${datadir}/bash-completion ${datadir}/zsh ${systemd_system_unitdir} ${nonarch_libdir}/tmpfiles.d"
FILES:${PN} = "${libdir}/lib*.so.*"
FILES:${PN}-dev += "${libdir}/cmake"

SYSTEMD_PACKAGES = "${@bb.utils.contains('PACKAGECONFIG', 'host', '${PN}-tools', '', d)}"
SYSTEMD_SERVICE:${PN}-tools = "dp_settingsd.service"
