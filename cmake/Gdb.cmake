# The pretty printers for gdb, which loads them with a library in /usr. For a library elsewhere, gdb's command "source"
# loads the same file. It holds no path.
install(FILES ${PROJECT_SOURCE_DIR}/tools/gdb/printers.py
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/gdb/auto-load/usr/${CMAKE_INSTALL_LIBDIR}
    RENAME libqelCore.so.${PROJECT_VERSION}-gdb.py COMPONENT Development)
