@echo off

rem  zBuild (TM)
rem  runme.bat: a zBuild-generated Script
rem  Copyright the testers


set MQ_SDIR=%~dp0
cd /d "%MQ_SDIR%"
set PATH=%SYSTEMROOT%\system32;%PATH%
cscript /nologo /E:JScript "%MQ_SDIR%\rundef.js" %*
