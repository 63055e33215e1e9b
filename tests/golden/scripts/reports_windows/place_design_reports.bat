@echo off

rem  tarnel (TM)
rem  place_design_reports.bat: a tarnel-generated Script
rem  Copyright the testers


set MQ_SDIR=%~dp0
cd /d "%MQ_SDIR%"
set PATH=%SYSTEMROOT%\system32;%PATH%
cscript /nologo /E:JScript "%MQ_SDIR%\place_design_reports.js" %*
