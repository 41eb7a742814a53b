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

inherit cmake pkgconfig systemd useradd

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
# The Redfish service, off by default.
PACKAGECONFIG[redfish] = "-DDP_BUILD_REDFISH=ON,-DDP_BUILD_REDFISH=OFF,boost cli11 libpcre2 nlohmann-json openssl zlib virtual/crypt ${@bb.utils.contains('DISTRO_FEATURES', 'pam', 'libpam', '', d)}"

# The user of dp_redfishd, and the groups by which dp_settingsd lets others read and change settings.
USERADD_PACKAGES = "${PN}-redfish"
GROUPADD_PARAM:${PN}-redfish = "--system dp_readers; --system dp_clients; --system dp_redfish"
USERADD_PARAM:${PN}-redfish = "--system --gid dp_redfish --no-create-home --home-dir ${localstatedir}/lib/dp_redfish --shell /sbin/nologin dp_redfish"

do_install:append() {
    if ${@bb.utils.contains('PACKAGECONFIG', 'host', 'true', 'false', d)}; then
        install -D -m 0644 ${S}/packaging/systemd/dp_settingsd.service \
            ${D}${systemd_system_unitdir}/dp_settingsd.service
        install -D -m 0644 ${S}/packaging/debian/dp-common-tools.tmpfiles \
            ${D}${nonarch_libdir}/tmpfiles.d/dp-common-tools.conf
    fi
    if ${@bb.utils.contains('PACKAGECONFIG', 'redfish', 'true', 'false', d)}; then
        install -D -m 0644 -t ${D}${systemd_system_unitdir} ${S}/packaging/systemd/dp_redfishd.service
        # Without PAM in the distribution there is no helper.
        if [ -e ${D}${libexecdir}/dp_redfish_auth ]; then
            install -m 0644 -t ${D}${systemd_system_unitdir} \
                ${S}/packaging/systemd/dp_redfish_auth.socket ${S}/packaging/systemd/dp_redfish_auth@.service
            install -D -m 0644 ${S}/packaging/debian/dp-redfish.pam \
                ${D}${sysconfdir}/pam.d/dp-redfish
        fi
    fi
}

PACKAGES =+ "${PN}-tools"
FILES:${PN}-tools = "${bindir} ${datadir}/bash-completion ${datadir}/zsh ${systemd_system_unitdir} ${nonarch_libdir}/tmpfiles.d"
PACKAGES =+ "${PN}-redfish"
FILES:${PN}-redfish = "${bindir}/dp_redfishd ${libexecdir}/dp_redfish_auth ${sysconfdir}/pam.d ${systemd_system_unitdir}/dp_redfish*"
FILES:${PN} = "${libdir}/lib*.so.*"
FILES:${PN}-dev += "${libdir}/cmake"

SYSTEMD_PACKAGES = "${@bb.utils.contains('PACKAGECONFIG', 'host', '${PN}-tools', '', d)} ${@bb.utils.contains('PACKAGECONFIG', 'redfish', '${PN}-redfish', '', d)}"
SYSTEMD_SERVICE:${PN}-tools = "dp_settingsd.service"
SYSTEMD_SERVICE:${PN}-redfish = "dp_redfishd.service"
