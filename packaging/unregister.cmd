@echo off
rem SPDX-License-Identifier: MIT
rem Unregisters what register.cmd registered. Run it as administrator.
setlocal
set failed=0
for %%m in (LXConfigFactoryCache32 LXConfigFactoryCachePS LXCfgCacheCallback LXSampleServerPS) do (
    if exist "%~dp0bin\%%m.dll" (
        regsvr32 /u /s "%~dp0bin\%%m.dll"
        if errorlevel 1 (
            echo %%m.dll cannot be unregistered
            set failed=1
        ) else (
            echo %%m.dll is unregistered
        )
    )
)
if exist "%~dp0bin\lxsampleserver.exe" (
    "%~dp0bin\lxsampleserver.exe" --unregister
    if errorlevel 1 (
        echo lxsampleserver.exe cannot be unregistered
        set failed=1
    ) else (
        echo lxsampleserver.exe is unregistered
    )
)
exit /b %failed%
