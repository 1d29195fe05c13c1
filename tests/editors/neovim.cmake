# Runs neovim_test.lua in a home of its own.
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
file(COPY ${SOURCE}/examples/data/garden.kds DESTINATION ${FOLDER})
foreach(variable XDG_STATE_HOME XDG_CACHE_HOME XDG_DATA_HOME XDG_CONFIG_HOME HOME)
    set(ENV{${variable}} ${FOLDER})
endforeach()
set(ENV{KELMSCRIPT} ${KELMSCRIPT})
set(ENV{MODULE} ${MODULE})
set(ENV{FILE} ${FOLDER}/garden.kds)
execute_process(COMMAND ${NVIM} --headless -n -u NONE --cmd "set runtimepath^=${SOURCE}/editors/neovim"
                        -c "luafile ${CMAKE_CURRENT_LIST_DIR}/neovim_test.lua"
                COMMAND_ERROR_IS_FATAL ANY)
