# `make package`: a Debian package of the installed files. Its run-time
# dependencies (Qt, QtKeychain, QCoro, xcb, xkbcommon) come from the
# libraries the executable links, through dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME wendle)
set(CPACK_PACKAGE_VENDOR "Wendle")
set(CPACK_PACKAGE_CONTACT "Wendle maintainers <maintainers@wendle.app>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Rewrite selected text with a language model")
set(CPACK_PACKAGE_DESCRIPTION
    "Select text in any application and press Ctrl+Alt+Space: a palette next to the\n"
    "pointer rewrites it with a language model on the server you choose (Ollama,\n"
    "LM Studio or any OpenAI-compatible endpoint). Also expands snippets.")
set(CPACK_PACKAGE_INSTALL_DIRECTORY wendle)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Plugins Qt loads at run time, which no library links: the SVG icon engine
# and image format for the icons.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6svg6")
# The keyring that keeps the API key, and a font to draw with.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring | keepassxc | kwalletmanager, fonts-dejavu-core")
# Only the program: no static libraries, headers or test tools.
set(CPACK_DEB_COMPONENT_INSTALL OFF)
include(CPack)
